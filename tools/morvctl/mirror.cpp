// morvctl mirror: the record files that accounts are read through.
#include <errno.h>
#include <fcntl.h>
#include <morvsdk/bdb.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include "morvctl/accounts.h"
#include "morvctl/store_copy.h"

namespace morvctl {

namespace {

struct Args {
    std::string which = "all";
};

constexpr struct {
    const char *mirror;
    const char *path;
    const char *source;
} kStores[] = {
    {"user", "/tmp/.db.user.name.0957", "/etc/passwd"},
    {"user", "/tmp/.db.user.misc.0957", "/etc/morvuser.conf"},
    {"user", "/tmp/.db.user.shadow.0957", "/etc/shadow"},
    {"user", "/tmp/.db.user.smb.0957", "/usr/morv/etc/private/smbpasswd"},
    {"user", "/tmp/.db.user.uid.0957", "/etc/passwd"},
    {"group", "/tmp/.db.group.name.0957", "/etc/group"},
    {"group", "/tmp/.db.group.id.0957", "/etc/group"},
    {"group", "/tmp/.db.group.desc.0957", "/etc/group_desc"},
    {"share", "/tmp/.db.morvshare.0957", "/usr/morv/etc/smb.conf"},
};
constexpr char kShareStore[] = "/tmp/.db.morvshare.0957";

// A smaller one the library builds anew.
constexpr off_t kSmallestStore = 8192;

// Why the library would build the store anew; "" when it is current.
std::string why_not_current(const Session &session, const char *path, const char *source,
                            const struct stat &store) {
    struct stat file;
    if (store.st_size < kSmallestStore) return "it is smaller than 8192 bytes";
    if (stat(system_path(session, source).c_str(), &file) != 0) return source + (": " + reason_text(errno));
    try {
        const StoreCopy copy({path, system_path(session, path)});
        clear_errors();
        if (MORVBDbDeprecatedGet(copy.get()) == 1) return "it is marked as replaced";
        switch (MORVBDbIsNeedToRebuild(copy.get(), int32_t(file.st_mtime))) {
            case 0:
                return "";
            case 1:
                return std::string(source) + " has changed since it was built";
            default:
                return "it does not say what it was built from";
        }
    } catch (const Failure &failure) {
        return failure.what();
    }
}

std::string age_text(int64_t seconds) {
    if (seconds < 0) return "in the future";
    const struct {
        int64_t length;
        const char *unit;
    } units[] = {{86400, " d"}, {3600, " h"}, {60, " min"}};
    for (const auto &[length, unit] : units) {
        if (seconds >= 2 * length) return std::to_string(seconds / length) + unit;
    }
    return std::to_string(seconds) + " s";
}

int status(const Session &session, const Args &) {
    Json stores = Json::array();
    std::vector<std::vector<std::string>> rows = {{"MIRROR", "FILE", "BYTES", "AGE", "CURRENT"}};
    for (const auto &[mirror, path, source] : kStores) {
        struct stat st;
        const bool is_there = stat(system_path(session, path).c_str(), &st) == 0;
        const std::string why =
            is_there ? why_not_current(session, path, source, st) : "it is missing: " + reason_text(errno);
        const int64_t age = is_there ? int64_t(time(nullptr)) - int64_t(st.st_mtime) : 0;
        if (session.json) {
            stores.push_back({{"mirror", mirror},
                              {"file", path},
                              {"source", source},
                              {"size", is_there ? Json(int64_t(st.st_size)) : Json(nullptr)},
                              {"age_seconds", is_there ? Json(age) : Json(nullptr)},
                              {"current", why.empty()},
                              {"reason", why.empty() ? Json(nullptr) : Json(why)}});
        } else {
            rows.push_back({mirror, path, is_there ? std::to_string(st.st_size) : "-",
                            is_there ? age_text(age) : "-", why.empty() ? "yes" : "no: " + why});
        }
    }
    if (session.json) {
        print_json({{"stores", stores}});
    } else {
        print_table(rows);
    }
    return int(Exit::kDone);
}

// No call builds this one whatever its state is: a sync time that no file has makes the check do it.
int rebuild_shares() {
    MORVSHAREDB *db = nullptr;
    if (MORVShareDBOpenFile(&db, kShareStore) < 0) return -1;
    const int result =
        MORVBDbConfSyncTimeSet(db->pShare, INT32_MIN) != 0 ? -1 : MORVShareDBCheckAndRebuild(&db);
    const int code = MLIBErrGet();
    MORVShareDBClose(db);
    MLIBErrSet(code);
    return result < 0 ? -1 : 0;
}

int rebuild(const Session &session, const Args &args) {
    constexpr struct {
        const char *name;
        uint32_t lock;
        int (*work)();
    } kMirrors[] = {{"user", MORV_LOCK_PW, MORVUserDBRebuild},
                    {"group", MORV_LOCK_GR, MORVGroupDBRebuild},
                    {"share", MORV_LOCK_SMB, rebuild_shares}};
    Json done = Json::array();
    for (const auto &[name, lock, work] : kMirrors) {
        if (args.which != "all" && args.which != name) continue;
        clear_errors();
        if (ErrMLIBFileLock(lock | MORV_LOCK_WRITE, session.timeout) != 0) {
            fail_library(std::string("lock the mirror ") + name);
        }
        clear_errors();
        if (work() != 0) fail_account(session, std::string("rebuild the mirror ") + name);
        ErrMLIBFileUnlock(lock);
        done.push_back(name);
    }
    if (done.empty())
        throw Failure(Exit::kUsage, "'" + escape(args.which) + "' is none of user, group, share and all");
    if (session.json) print_json({{"rebuilt", done}});
    return int(Exit::kDone);
}

}  // namespace

void add_mirror_commands(CLI::App &app, Session &session) {
    CLI::App &family = add_family(app, session, "mirror", "The record files that accounts are read through");
    CLI::App &listing =
        add_command(family, session, Kind::kReads, "status", "Tell of each whether it is current");
    run_with(listing, session, [](Session &s) { return status(s, {}); });
    auto [command, args] =
        add_account_command<Args>(family, session, Kind::kLocks, "rebuild", "Build mirrors anew", rebuild);
    add_text(command, "MIRROR", args.which, "user, group, share or all; all without it");
}

}  // namespace morvctl
