#include "autoblock/failure_list.h"

#include <sys/stat.h>

#include "autoblock/deny_list.h"
#include "core/file/aside.h"
#include "core/file/sys_path.h"
#include "core/file/tree.h"

namespace morv {

// Eight million failures within one period.
static constexpr off_t kMostBytes = off_t{64} << 20;

static bool is_ours(const struct stat &st) noexcept {
    return S_ISREG(st.st_mode) && st.st_nlink == 1 && st.st_size <= kMostBytes;
}

int open_failure_list(Missing missing, UniqueFd &list, int64_t &size) noexcept {
    const SysPath path(kFailureList);
    // Who puts something there again and again is not waited for.
    for (int tries = 0; tries < 3; ++tries) {
        struct stat st, before;
        move_aside_unless_regular(path.c_str());
        const bool was_there = lstat(path.c_str(), &before) == 0;
        const int code =
            open_current(path.c_str(), O_RDWR | O_NOFOLLOW, Lock::kIsNeeded, missing, 0666, list);
        if (code == ERR_OPEN_FAILED) continue;
        // Anybody can lock it, and nothing would be counted as long as he likes: he may keep that list.
        struct stat now;
        if (code == ERR_LOCK_FAILED && tries == 0 && was_there && lstat(path.c_str(), &now) == 0 &&
            same_file(now, before) && move_aside(path.c_str()))
            continue;
        if (code != 0) return code;
        if (fstat(list.get(), &st) != 0) return ERR_STAT_FAILED;
        size = st.st_size;
        if (is_ours(st)) return 0;
        list.reset();
        if (!move_aside(path.c_str())) break;
    }
    return ERR_OPEN_FAILED;
}

int open_failure_list_to_read(UniqueFd &list, int64_t &size) noexcept {
    const SysPath path(kFailureList);
    struct stat st;
    if (lstat(path.c_str(), &st) == 0 && !is_ours(st)) return ERR_FILE_NOT_FOUND;
    if (int code = open_to_read(path.c_str(), O_NOFOLLOW, list)) return code;
    if (fstat(list.get(), &st) != 0) return ERR_STAT_FAILED;
    size = st.st_size;
    return is_ours(st) ? 0 : ERR_FILE_NOT_FOUND;
}

}  // namespace morv
