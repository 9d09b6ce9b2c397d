#include "support/sys_fault.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <initializer_list>

namespace {

using testing_support::Sys;

int armed = -1;
int countdown;
bool was_reached;
int calls_left;  // before the process is killed; 0: not armed

// Whether this call is the one that fails.
bool fails(Sys which) {
    if (calls_left > 0 && --calls_left == 0) raise(SIGKILL);
    if (armed != int(which) || --countdown > 0) return false;
    armed = -1;
    was_reached = true;
    static constexpr int kReasons[] = {EMFILE, EIO,   EIO,    EACCES, ENOSPC, EPERM, EPERM,
                                       EIO,    EIO,   ENOSPC, EIO,    ENOSPC, 0,     EIO,
                                       EIO,    EBUSY, EIO,    ENOSPC, EPERM,  ENOLCK};
    errno = kReasons[int(which)];
    return true;
}

// The libc function behind a name that differs with the size of file offsets and times.
template <class F>
F next(std::initializer_list<const char *> names) {
    for (const char *name : names) {
        if (void *found = dlsym(RTLD_NEXT, name)) return reinterpret_cast<F>(found);
    }
    abort();
}

}  // namespace

// The C library's own declarations carry attributes that need not be repeated.
extern "C" {

int open(const char *path, int flags, ...) {
    mode_t mode = 0;
    if (flags & (O_CREAT | O_TMPFILE)) {
        va_list args;
        va_start(args, flags);
        mode = va_arg(args, mode_t);
        va_end(args);
    }
    if (fails(Sys::kOpen)) return -1;
    return int(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, mode));
}

int fstat(int fd, struct stat *st) noexcept {
    if (fails(Sys::kFstat)) return -1;
    static const auto real = next<int (*)(int, struct stat *)>({"__fstat64_time64", "fstat64", "fstat"});
    return real(fd, st);
}

ssize_t read(int fd, void *buffer, size_t size) {
    if (fails(Sys::kRead)) return -1;
    return syscall(SYS_read, fd, buffer, size);
}

ssize_t __read_chk(int fd, void *buffer, size_t size, size_t) {
    return read(fd, buffer, size);
}

ssize_t readlink(const char *path, char *buffer, size_t size) noexcept {
    if (fails(Sys::kReadlink)) return -1;
    return syscall(SYS_readlinkat, AT_FDCWD, path, buffer, size);
}

int mkostemp(char *name, int flags) {
    if (fails(Sys::kMkostemp)) return -1;
    static const auto real = next<int (*)(char *, int)>({"mkostemp64", "mkostemp"});
    return real(name, flags);
}

int fchown(int fd, uid_t owner, gid_t group) noexcept {
    if (fails(Sys::kFchown)) return -1;
#ifdef SYS_fchown32
    return int(syscall(SYS_fchown32, fd, owner, group));
#else
    return int(syscall(SYS_fchown, fd, owner, group));
#endif
}

int fchmod(int fd, mode_t mode) noexcept {
    if (fails(Sys::kFchmod)) return -1;
    return int(syscall(SYS_fchmod, fd, mode));
}

ssize_t flistxattr(int fd, char *list, size_t size) noexcept {
    if (fails(Sys::kFlistxattr)) return -1;
    return syscall(SYS_flistxattr, fd, list, size);
}

ssize_t fgetxattr(int fd, const char *name, void *value, size_t size) noexcept {
    if (fails(Sys::kFgetxattr)) return -1;
    return syscall(SYS_fgetxattr, fd, name, value, size);
}

int fsetxattr(int fd, const char *name, const void *value, size_t size, int flags) noexcept {
    if (fails(Sys::kFsetxattr)) return -1;
    return int(syscall(SYS_fsetxattr, fd, name, value, size, flags));
}

int fremovexattr(int fd, const char *name) noexcept {
    if (fails(Sys::kFremovexattr)) return -1;
    return int(syscall(SYS_fremovexattr, fd, name));
}

ssize_t write(int fd, const void *buffer, size_t size) {
    if (fails(Sys::kWrite)) return -1;
    if (fails(Sys::kShortWrite)) {
        if (size > 1) return syscall(SYS_write, fd, buffer, size / 2);
        errno = ENOSPC;
        return -1;
    }
    return syscall(SYS_write, fd, buffer, size);
}

int fsync(int fd) {
    if (fails(Sys::kFsync)) return -1;
    return int(syscall(SYS_fsync, fd));
}

int close(int fd) {
    const bool failing = fails(Sys::kClose);
    const int result = int(syscall(SYS_close, fd));
    if (!failing) return result;
    errno = EIO;
    return -1;
}

int rename(const char *from, const char *to) noexcept {
    if (fails(Sys::kRename)) return -1;
    return int(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
    if (fails(Sys::kLseek)) return -1;
    static const auto real = next<off_t (*)(int, off_t, int)>({"lseek64"});
    return real(fd, offset, whence);
}

int mkdir(const char *path, mode_t mode) noexcept {
    if (fails(Sys::kMkdir)) return -1;
    return int(syscall(SYS_mkdirat, AT_FDCWD, path, mode));
}

int chmod(const char *path, mode_t mode) noexcept {
    if (fails(Sys::kChmod)) return -1;
    return int(syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

int flock(int fd, int operation) noexcept {
    if (fails(Sys::kFlock)) return -1;
    return int(syscall(SYS_flock, fd, operation));
}
}

namespace testing_support {

const char *sys_name(Sys which) {
    static constexpr const char *kNames[] = {
        "open",       "fstat",     "read",      "readlink",     "mkostemp", "fchown",      "fchmod",
        "flistxattr", "fgetxattr", "fsetxattr", "fremovexattr", "write",    "short write", "fsync",
        "close",      "rename",    "lseek",     "mkdir",        "chmod",    "flock"};
    return kNames[int(which)];
}

SysFault::SysFault(Sys which, int nth) {
    was_reached = false;
    countdown = nth;
    armed = int(which);
}

SysFault::~SysFault() {
    armed = -1;
}

bool SysFault::reached() const {
    return was_reached;
}

void kill_at_call(int nth) {
    calls_left = nth;
}

}  // namespace testing_support
