#include "autoblock/deny_list.h"

#include <errno.h>
#include <morvsdk/log.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "core/base/log.h"
#include "core/file/replacement_file.h"
#include "core/file/sys_path.h"
#include "core/store/address_list.h"

namespace morv {

namespace {

bool path_beside(const char *list, const char *suffix, char (&path)[PATH_MAX]) noexcept {
    const int length = snprintf(path, sizeof path, "%s%s", list, suffix);
    if (length >= 0 && size_t(length) < sizeof path) return true;
    errno = ENAMETOOLONG;
    return false;
}

// Keeps a list that is to be replaced under a second name. It is no copy, so that it costs no space; and no
// descriptor's mode is changed that others read the list by until it is replaced.
class KeptList {
  public:
    ~KeptList() {
        if (!kept_) return;
        const int saved = errno;
        unlink(path_);
        errno = saved;
    }
    KeptList() = default;
    KeptList(const KeptList &) = delete;
    KeptList &operator=(const KeptList &) = delete;

    // A list that cannot be kept is no reason not to block.
    void keep(const char *list) noexcept {
        const bool fits = path_beside(list, ".damaged", path_);
        kept_ = fits &&
                (link(list, path_) == 0 || (errno == EEXIST && unlink(path_) == 0 && link(list, path_) == 0));
        if (!kept_) MORV_LOG(LOG_ERR, "[%s] is damaged, and cannot be kept: %m", list);
    }

    // Answers whether there is one.
    bool commit() noexcept {
        if (kept_) chmod(path_, 0600);
        return std::exchange(kept_, false);
    }

  private:
    char path_[PATH_MAX];
    bool kept_ = false;
};

// Writes the new list: what is left of the old one, and what is added.
int write_list(int old_list, ReplacementFile &file, DenyChange &change, bool &is_changed,
               int64_t size) noexcept {
    RecordWindow window;
    if (int code = window.map()) return code;
    const RecordAge age = RecordAge::limit(change.now, change.lifetime);
    const int code =
        for_each_window(old_list, window, 0, size, [&](std::span<AddressRecord> records, int64_t) {
            const size_t kept = keep_others(records, change.leaving, age);
            is_changed |= kept != records.size();
            return file.write(bytes_of(records.first(kept)));
        });
    if (code != 0) return code;

    is_changed |= !change.added.empty();
    std::span<const uint32_t> left = change.added;
    while (!left.empty()) {
        const std::span<AddressRecord> room = window.records();
        const size_t count = left.size() < room.size() ? left.size() : room.size();
        for (size_t i = 0; i < count; ++i)
            room[i] = record_of(left[i], change.now);
        if (int failed = file.write(bytes_of(room.first(count)))) return failed;
        left = left.subspan(count);
    }
    return 0;
}

}  // namespace

int change_deny_list(DenyChange &change) noexcept {
    char path[PATH_MAX];
    if (!follow_links(SysPath(kDenyList).c_str(), path)) return ERR_OPEN_FAILED;
    const Missing missing = change.added.empty() ? Missing::kIsFine : Missing::kIsMade;
    if (missing == Missing::kIsFine && access(path, F_OK) != 0 && errno == ENOENT) return 0;
    char lock_path[PATH_MAX];
    if (!path_beside(path, ".lock", lock_path)) return ERR_OPEN_FAILED;
    UniqueFd lock, list;
    // Writers come one after the other by a file that nobody else can open; everybody may read the list and so
    // hold a lock on it. Programs that only know that one are waited for, but not for ever.
    if (int code =
            open_current(lock_path, O_RDWR | O_NOFOLLOW, Lock::kIsNeeded, Missing::kIsMade, 0600, lock))
        return code;
    if (int code = open_current(path, O_RDONLY | O_NOFOLLOW, Lock::kIsTried, missing, 0644, list))
        return code == ERR_FILE_NOT_FOUND ? 0 : code;
    struct stat st;
    if (fstat(list.get(), &st) != 0) return ERR_STAT_FAILED;

    KeptList damaged;
    ReplacementFile file(path, ".tmp");
    bool is_changed = st.st_size % off_t{sizeof(AddressRecord)} != 0;
    if (int code = file.create_like(list.get())) return code;
    if (int code = write_list(list.get(), file, change, is_changed, st.st_size)) return code;
    if (!is_changed) return 0;
    if (int code = file.complete()) return code;
    if (st.st_size % off_t{sizeof(AddressRecord)} != 0) damaged.keep(path);
    // Behind the rename it only fails to make that last: the list is the new one.
    const int code = file.rename_over();
    if (code != ERR_RENAME_FAILED) change.was_kept = damaged.commit();
    return code;
}

void report_damage(const DenyChange &change) noexcept {
    if (change.was_kept) {
        MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_WARNING, MORV_EVENT_BLOCK_LIST_DAMAGED, kDamagedDenyList,
                    nullptr, nullptr, nullptr);
    }
}

}  // namespace morv
