#include <morvsdk/internal/sysbkp.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "core/account/share_change.h"
#include "core/account/share_list.h"
#include "core/file/sys_path.h"
#include "core/storage/volume_name.h"
#include "core/system/mounts.h"
#include "sysbkp/block.h"

using namespace morv;

namespace {

constexpr size_t kMostNames = 600;  // bytes of names in a note

// ---- Export ---------------------------------------------------------------------------------------------

// The shares that MORVShareEnum lists, in its order.
int put_shares(Mirror &mirror, ItemWriter &items) {
    const size_t count_at = items.put_count();
    int32_t count = 0;
    const int code = walk_shares(mirror, [&](const PackedShare &share) {
        const auto &[name, comment, path, invalid_users, write_list, read_list] = share.texts;
        for (const char *text : {name, path, comment, write_list, read_list, invalid_users})
            items.put_string(text);
        items.put_long(share.access);
        items.put_long(share.browseable);
        items.put_long(share.ftp);
        ++count;
        return 0;
    });
    items.set_count(count_at, count);
    return code;
}

// ---- Import ---------------------------------------------------------------------------------------------

// Takes the records that are whole.
void take_shares(ItemReader &items, std::vector<MORVSHARE> &shares) {
    const auto text = [&] { return const_cast<char *>(items.take_string()); };
    const int32_t count = items.take_count();
    for (int32_t i = 0; i < count && !items.problem(); ++i) {
        MORVSHARE share = {};
        share.szName = text();
        share.szPath = text();
        share.szComment = text();
        share.szWriteList = text();
        share.szReadList = text();
        share.szInvalidUsers = text();
        share.accessType = items.take_long();
        share.browseable = items.take_long();
        share.ftpFlags = items.take_long();
        if (!items.problem()) shares.push_back(share);
    }
}

// The volumes that are here. An image may have no list of what is mounted: then a folder is enough.
class Volumes {
  public:
    int load() {
        const int code = mounts_.load();
        are_listed_ = code == 0;
        return code == ERR_OPEN_FAILED && has_system_root() ? 0 : code;
    }

    // The volume that a path lies on if that is not here; else empty.
    std::string missing(const char *path) const {
        const std::string plain = plain_path(path);
        std::string volume = plain.substr(0, plain.find('/', 1));
        if (!is_fixed_volume(volume)) return {};
        struct stat st;
        const bool is_here = (!are_listed_ || mounts_.at(volume)) &&
                             stat(SysPath(volume.c_str()).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
        return is_here ? std::string() : volume;
    }

  private:
    Mounts mounts_;
    bool are_listed_ = false;
};

void tell_refused(const MORVSHARE &share, int code) noexcept {
    if (code == ERR_FILE_EXISTS)
        tell_problem("share %s: there is one here with another folder, and nothing is moved", share.szName);
    else if (code == ERR_CREATE_FAILED)
        tell_problem("share %s: its folder %s cannot be made", share.szName, share.szPath);
    else
        tell_problem("share %s: %s", share.szName, code_text(code));
}

// Why somebody is not here; "" when that was told already.
std::string take_reason(const std::string &name) {
    const char *const known = gpshUser ? SzMLIBSzHashGetValue(gpshUser, name.c_str()) : nullptr;
    std::string reason = known            ? known
                         : name[0] == '@' ? code_text(ERR_NO_SUCH_GROUP)
                                          : code_text(ERR_NO_SUCH_USER);
    keep_reason(name.c_str(), "");
    return reason;
}

void tell_unknown(const MORVSHARE &share, const std::vector<std::string> &names) {
    std::string text;
    size_t told = 0;
    for (; told < names.size() && text.size() < kMostNames; ++told) {
        const std::string reason = take_reason(names[told]);
        text.append(told > 0 ? ", " : "").append(names[told]);
        if (!reason.empty()) text.append(" (").append(reason).append(")");
    }
    if (told < names.size()) text.append(" and ").append(std::to_string(names.size() - told)).append(" more");
    if (told > 0) tell_missing("share %s: its lists name who is not here: %s", share.szName, text.c_str());
}

// Restores what can be restored. Answers 0 when that is all.
int restore(const std::vector<MORVSHARE> &shares) {
    int result = 0;
    Volumes volumes;
    int code = volumes.load();
    std::vector<MORVSHARE> sound;
    const auto refuse = [&](const MORVSHARE &share, const std::string &why) {
        tell_problem("share %s: %s", share.szName, why.c_str());
        result = -1;
    };
    for (const MORVSHARE &share : shares) {
        const std::string missing = volumes.missing(share.szPath);
        if (!is_showable(share.szPath) || !is_showable(share.szComment)) {
            refuse(share, "control characters in its path or comment");
        } else if (!missing.empty()) {
            refuse(share, "its volume " + missing + " is not here");
        } else {
            sound.push_back(share);
        }
    }
    std::vector<RestoredShare> results;
    if (code == 0) code = restore_shares(sound, results);
    for (size_t i = 0; i < results.size(); ++i) {
        if (results[i].code) {
            tell_refused(sound[i], results[i].code);
            result = -1;
        } else if (code == 0) {
            tell_unknown(sound[i], results[i].unknown);
        }
    }
    if (code) tell_problem("the shares: %s", code_text(code));
    return code ? -1 : result;
}

}  // namespace

extern "C" int MORVSysbkpShareExport(int fd) noexcept {
    return EXPORT_BLOCK(fd, MORV_SYSBKP_SHARE, "shares", [](ItemWriter &items) {
        const int code = read_shares([&](Mirror &mirror) {
            items = ItemWriter();
            return put_shares(mirror, items);
        });
        if (code) tell_problem("the shares: %s", code_text(code));
        return code ? -1 : 0;
    });
}

extern "C" int MORVSysbkpShareImport(int fd, int version, int) noexcept {
    return import_block(fd, MORV_SYSBKP_SHARE, version, [](ItemReader &items) {
        std::vector<MORVSHARE> shares;
        take_shares(items, shares);
        const int restored = restore(shares);
        return check_items(items) == 0 ? restored : -1;
    });
}
