// morvctl mirror: the record files that accounts are read through.
#include <errno.h>
#include <morvsdk/bdb.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <span>

#include "morvctl/accounts.h"
#include "morvctl/store_copy.h"

namespace morvctl {

namespace {

struct Args {
    std::string which = "all";
};

constexpr const char *kUserSources[] = {"/etc/passwd", "/etc/morvuser.conf", "/etc/shadow",
                                        "/usr/morv/etc/private/smbpasswd"};
constexpr const char *kGroupSources[] = {"/etc/group", "/etc/group_desc"};
constexpr const char *kShareSources[] = {"/usr/morv/etc/smb.conf"};

// Each store, and which of its mirror's sources its sync time is that of.
constexpr struct {
    const char *mirror;
    const char *path;
    std::span<const char *const> sources;
    size_t own;
} kStores[] = {
    {"user", "/tmp/.db.user.name.0957", kUserSources, 0},
    {"user", "/tmp/.db.user.misc.0957", kUserSources, 1},
    {"user", "/tmp/.db.user.shadow.0957", kUserSources, 2},
    {"user", "/tmp/.db.user.smb.0957", kUserSources, 3},
    {"user", "/tmp/.db.user.uid.0957", kUserSources, 0},
    {"group", "/tmp/.db.group.name.0957", kGroupSources, 0},
    {"group", "/tmp/.db.group.id.0957", kGroupSources, 0},
    {"group", "/tmp/.db.group.desc.0957", kGroupSources, 1},
    {"share", "/tmp/.db.morvshare.0957", kShareSources, 0},
};
constexpr char kShareStore[] = "/tmp/.db.morvshare.0957";

// A smaller one the library builds anew.
constexpr off_t kSmallestStore = 8192;

// The record in which a store keeps what its mirror was built from: the number of the building, and of each
// source device, inode, size, seconds and nanoseconds, as native integers of 64 bits.
constexpr char kStateKey[] = "#MORV@SOURCES";
constexpr size_t kStateFields = 5;

// The source that is another than when the store was built, or null.
const char *changed_source(MORVBDB *db, std::span<const char *const> sources,
                           const std::vector<struct stat> &files) {
    struct Buffer {
        void *bytes = nullptr;
        int size = 0;
        ~Buffer() { MORVBDbFree(bytes); }
    } record;
    if (MORVBDbGet(db, kStateKey, int(strlen(kStateKey)), &record.bytes, &record.size) != 0) return nullptr;
    std::vector<uint64_t> fields(size_t(record.size) / sizeof(uint64_t));
    if (fields.size() < 1 + sources.size() * kStateFields) return nullptr;
    memcpy(fields.data(), record.bytes, fields.size() * sizeof(uint64_t));
    for (size_t i = 0; i < sources.size(); ++i) {
        const struct stat &st = files[i];
        const uint64_t now[kStateFields] = {st.st_dev, st.st_ino, uint64_t(st.st_size),
                                            uint64_t(st.st_mtim.tv_sec), uint64_t(st.st_mtim.tv_nsec)};
        if (!std::equal(std::begin(now), std::end(now), &fields[1 + i * kStateFields])) return sources[i];
    }
    return nullptr;
}

// Why the library would build the store anew; "" when it is current.
std::string why_not_current(const Session &session, const char *path, std::span<const char *const> sources,
                            size_t own, const struct stat &store) {
    if (!S_ISREG(store.st_mode)) return "it is no regular file";
    if (store.st_uid != 0 && store.st_uid != geteuid()) return "it belongs to another user";
    if (store.st_size < kSmallestStore) return "it is smaller than 8192 bytes";
    std::vector<struct stat> files(sources.size());
    for (size_t i = 0; i < sources.size(); ++i) {
        if (stat(system_path(session, sources[i]).c_str(), &files[i]) != 0) {
            return sources[i] + (": " + reason_text(errno));
        }
    }
    try {
        const StoreCopy copy({path, system_path(session, path)});
        clear_errors();
        if (MORVBDbDeprecatedGet(copy.get()) == 1) return "it is marked as replaced";
        const int differs = MORVBDbIsNeedToRebuild(copy.get(), int32_t(files[own].st_mtime));
        if (differs < 0) return "it does not say what it was built from";
        const char *changed = differs ? sources[own] : changed_source(copy.get(), sources, files);
        return changed ? std::string(changed) + " has changed since it was built" : "";
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
    for (const auto &[mirror, path, sources, own] : kStores) {
        struct stat st;
        // A link the library does not use.
        const bool is_there =
            lstat((system_path(session, "/tmp") + (path + strlen("/tmp"))).c_str(), &st) == 0;
        const std::string why = is_there ? why_not_current(session, path, sources, own, st)
                                         : "it is missing: " + reason_text(errno);
        const int64_t age = is_there ? int64_t(time(nullptr)) - int64_t(st.st_mtime) : 0;
        if (session.json) {
            stores.push_back({{"mirror", mirror},
                              {"file", path},
                              {"source", sources[own]},
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

// No call builds this one whatever its state is: a sync time that no file has makes the next opening do it.
int rebuild_shares(const Session &session) {
    MORVSHAREDB *db = nullptr;
    if (MORVShareDBOpenFile(&db, system_path(session, kShareStore).c_str()) < 0) return -1;
    const int marked = MORVBDbConfSyncTimeSet(db->pShare, INT32_MIN);
    const int code = MLIBErrGet();
    MORVShareDBClose(db);
    MLIBErrSet(code);
    if (marked != 0 || !(db = MORVShareDBOpen())) return -1;
    return MORVShareDBClose(db);
}

int rebuild(const Session &session, const Args &args) {
    constexpr struct {
        const char *name;
        uint32_t lock;
        int (*work)(const Session &session);
    } kMirrors[] = {{"user", MORV_LOCK_PW, [](const Session &) { return MORVUserDBRebuild(); }},
                    {"group", MORV_LOCK_GR, [](const Session &) { return MORVGroupDBRebuild(); }},
                    {"share", MORV_LOCK_SMB, rebuild_shares}};
    Json done = Json::array();
    for (const auto &[name, lock, work] : kMirrors) {
        if (args.which != "all" && args.which != name) continue;
        clear_errors();
        if (ErrMLIBFileLock(lock | MORV_LOCK_WRITE, session.timeout) != 0) {
            fail_library(std::string("lock the mirror ") + name);
        }
        clear_errors();
        if (work(session) != 0) fail_account(session, std::string("rebuild the mirror ") + name);
        ErrMLIBFileUnlock(lock);
        done.push_back(name);
    }
    if (done.empty())
        throw Failure(Exit::kUsage, "'" + escape(args.which) + "' is none of user, group, share and all");
    if (session.json) print_json({{"rebuilt", done}});
    return int(Exit::kDone);
}

}  // namespace

void add_mirror_commands(CLI::App &family, Session &session) {
    CLI::App &listing =
        add_command(family, session, Kind::kReads, "status", "Tell of each whether it is current");
    run_with(listing, session, [](Session &s) { return status(s, {}); });
    auto [command, args] =
        add_account_command<Args>(family, session, Kind::kLocks, "rebuild", "Build mirrors anew", rebuild);
    add_text(command, "MIRROR", args.which, "user, group, share or all; all without it");
}

}  // namespace morvctl
