#include <errno.h>
#include <fcntl.h>
#include <morvsdk/internal/file.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/fail.h"
#include "core/file/lock_table.h"
#include "core/file/sys_path.h"

using namespace morv;

namespace {

enum class Attempt { kAll, kNotNow, kRefused };

// A lock file, opened; -1 when it is missing or no plain file.
int open_lock_file(const LockEntry &entry) noexcept {
    const int fd = open(SysPath(entry.path).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat st;
    if (fd >= 0 && (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))) {
        close(fd);
        errno = EINVAL;
        return -1;
    }
    return fd;
}

// Takes what it can of the request, and tells in `taken` what that was.
Attempt take(uint32_t bits, int32_t mode, uint32_t &taken) noexcept {
    for (LockEntry &entry : lock_table()) {
        if (!(bits & entry.bit)) continue;
        if (entry.fd >= 0) {
            // Waiting for ourselves would be for ever, and letting go in between would let a writer in.
            if ((entry.mode & MORV_LOCK_SHARED) && (mode & MORV_LOCK_EXCLUSIVE)) return Attempt::kRefused;
            ++entry.count;
            taken |= entry.bit;
            continue;
        }
        entry.fd = open_lock_file(entry);
        if (entry.fd < 0) continue;
        int locked;
        do {
            locked = flock(entry.fd, mode);
        } while (locked != 0 && errno == EINTR);
        if (locked != 0) {
            const int saved = errno;
            close_lock(entry);
            errno = saved;
            return Attempt::kNotNow;
        }
        entry.count = 1;
        entry.mode = mode;
        taken |= entry.bit;
    }
    return taken == bits ? Attempt::kAll : Attempt::kNotNow;
}

bool any_lock_file_missing(uint32_t bits) noexcept {
    for (const LockEntry &entry : lock_table()) {
        struct stat st;
        if ((bits & entry.bit) && entry.fd < 0 &&
            (lstat(SysPath(entry.path).c_str(), &st) != 0 || !S_ISREG(st.st_mode))) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int ErrMLIBFileLock(uint32_t request, unsigned int timeout) noexcept {
    const uint32_t bits = request & ~kLockModeMask;
    const auto mode = int32_t(request & kLockModeMask);
    uint32_t known = 0;
    for (const LockEntry &entry : lock_table())
        known |= entry.bit;
    if ((bits & ~known) || !(mode & (MORV_LOCK_SHARED | MORV_LOCK_EXCLUSIVE)))
        return MORV_FAIL(ERR_LOCK_FAILED, -1);

    // In hundredths of a second.
    const uint64_t limit = uint64_t{timeout} * 100;
    bool made = false;
    for (uint64_t elapsed = 0;;) {
        uint32_t taken = 0;
        const Attempt attempt = take(bits, mode, taken);
        if (attempt == Attempt::kAll) return 0;
        const int saved = errno;
        ErrMLIBFileUnlock(taken);
        errno = saved;
        if (attempt == Attempt::kRefused) break;
        // The files are there but at the first lock after the start, so that they are only looked for when a
        // lock could not be had. Making them is no attempt: what follows is tried at once.
        if (!made && any_lock_file_missing(bits)) {
            made = true;
            if (int code = make_lock_files()) return MORV_FAIL(code, -1);
            continue;
        }
        elapsed += 5;
        if (elapsed > limit) break;
        usleep(50000);
    }
    return MORV_FAIL(ERR_LOCK_FAILED, -1);
}
