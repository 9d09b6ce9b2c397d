#include "support/sys_fault.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <initializer_list>

namespace {

using testing_support::Sys;

// In the order of Sys.
constexpr struct {
    const char *name;
    int reason;
} kCalls[] = {{"open", EMFILE},      {"fstat", EIO},
              {"read", EIO},         {"readlink", EACCES},
              {"mkostemp", ENOSPC},  {"fchown", EPERM},
              {"fchmod", EPERM},     {"flistxattr", EIO},
              {"fgetxattr", EIO},    {"fsetxattr", ENOSPC},
              {"fremovexattr", EIO}, {"write", ENOSPC},
              {"short write", 0},    {"fsync", EIO},
              {"close", EIO},        {"rename", EBUSY},
              {"lseek", EIO},        {"openat", EMFILE},
              {"mkdirat", ENOSPC},   {"renameat2", EXDEV},
              {"unlinkat", EIO},     {"copy_file_range", EXDEV},
              {"futimens", EPERM},   {"syncfs", EIO},
              {"pread", EIO},        {"pwrite", ENOSPC},
              {"ftruncate", EIO},    {"allocation", ENOMEM}};

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
    errno = kCalls[int(which)].reason;
    return true;
}

template <class... Args>
int call(Sys which, long number, Args... args) {
    return fails(which) ? -1 : int(syscall(number, args...));
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
    return call(Sys::kOpen, SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, mode);
}

int fstat(int fd, struct stat *st) noexcept {
    if (fails(Sys::kFstat)) return -1;
    static const auto real = next<int (*)(int, struct stat *)>({"__fstat64_time64", "fstat64", "fstat"});
    return real(fd, st);
}

ssize_t read(int fd, void *buffer, size_t size) {
    return call(Sys::kRead, SYS_read, fd, buffer, size);
}

ssize_t __read_chk(int fd, void *buffer, size_t size, size_t) {
    return read(fd, buffer, size);
}

ssize_t readlink(const char *path, char *buffer, size_t size) noexcept {
    return call(Sys::kReadlink, SYS_readlinkat, AT_FDCWD, path, buffer, size);
}

int mkostemp(char *name, int flags) {
    if (fails(Sys::kMkostemp)) return -1;
    static const auto real = next<int (*)(char *, int)>({"mkostemp64", "mkostemp"});
    return real(name, flags);
}

int fchown(int fd, uid_t owner, gid_t group) noexcept {
#ifdef SYS_fchown32
    return call(Sys::kFchown, SYS_fchown32, fd, owner, group);
#else
    return call(Sys::kFchown, SYS_fchown, fd, owner, group);
#endif
}

int fchmod(int fd, mode_t mode) noexcept {
    return call(Sys::kFchmod, SYS_fchmod, fd, mode);
}

ssize_t flistxattr(int fd, char *list, size_t size) noexcept {
    return call(Sys::kFlistxattr, SYS_flistxattr, fd, list, size);
}

ssize_t fgetxattr(int fd, const char *name, void *value, size_t size) noexcept {
    return call(Sys::kFgetxattr, SYS_fgetxattr, fd, name, value, size);
}

int fsetxattr(int fd, const char *name, const void *value, size_t size, int flags) noexcept {
    return call(Sys::kFsetxattr, SYS_fsetxattr, fd, name, value, size, flags);
}

int fremovexattr(int fd, const char *name) noexcept {
    return call(Sys::kFremovexattr, SYS_fremovexattr, fd, name);
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

// No test cuts the power: that a file is synced is all that matters, and not the time it takes.
int fsync(int fd) {
    if (fails(Sys::kFsync)) return -1;
    return fcntl(fd, F_GETFD) < 0 ? -1 : 0;
}

// The record library's. A test may bring its own.
__attribute__((weak)) int fdatasync(int fd) {
    return fcntl(fd, F_GETFD) < 0 ? -1 : 0;
}

int close(int fd) {
    // The record library does not survive a close that fails.
    const bool spared =
        armed == int(Sys::kClose) && testing_support::is_record_library(__builtin_return_address(0));
    const bool failing = !spared && fails(Sys::kClose);
    const int result = int(syscall(SYS_close, fd));
    if (!failing) return result;
    errno = EIO;
    return -1;
}

int rename(const char *from, const char *to) noexcept {
    return call(Sys::kRename, SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0);
}

int openat(int at, const char *path, int flags, ...) {
    mode_t mode = 0;
    if (flags & (O_CREAT | O_TMPFILE)) {
        va_list args;
        va_start(args, flags);
        mode = va_arg(args, mode_t);
        va_end(args);
    }
    return call(Sys::kOpenat, SYS_openat, at, path, flags | O_LARGEFILE, mode);
}

int mkdirat(int at, const char *path, mode_t mode) noexcept {
    return call(Sys::kMkdirat, SYS_mkdirat, at, path, mode);
}

int renameat2(int from_at, const char *from, int to_at, const char *to, unsigned flags) noexcept {
    return call(Sys::kRenameat2, SYS_renameat2, from_at, from, to_at, to, flags);
}

int unlinkat(int at, const char *path, int flags) noexcept {
    return call(Sys::kUnlinkat, SYS_unlinkat, at, path, flags);
}

ssize_t copy_file_range(int from, off_t *in, int to, off_t *out, size_t size, unsigned flags) {
    if (fails(Sys::kCopyFileRange)) return -1;
    static const auto real =
        next<ssize_t (*)(int, off_t *, int, off_t *, size_t, unsigned)>({"copy_file_range"});
    return real(from, in, to, out, size, flags);
}

int futimens(int fd, const timespec *times) noexcept {
    if (fails(Sys::kFutimens)) return -1;
    static const auto real = next<int (*)(int, const timespec *)>({"__futimens64", "futimens"});
    return real(fd, times);
}

int syncfs(int fd) noexcept {
    return call(Sys::kSyncfs, SYS_syncfs, fd);
}

off_t lseek(int fd, off_t offset, int whence) noexcept {
    if (fails(Sys::kLseek)) return -1;
    static const auto real = next<off_t (*)(int, off_t, int)>({"lseek64"});
    return real(fd, offset, whence);
}

ssize_t pread(int fd, void *buffer, size_t size, off_t offset) {
    if (fails(Sys::kPread)) return -1;
    static const auto real = next<ssize_t (*)(int, void *, size_t, off_t)>({"pread64"});
    return real(fd, buffer, size, offset);
}

ssize_t pwrite(int fd, const void *buffer, size_t size, off_t offset) {
    if (fails(Sys::kPwrite)) return -1;
    static const auto real = next<ssize_t (*)(int, const void *, size_t, off_t)>({"pwrite64"});
    return real(fd, buffer, size, offset);
}

int ftruncate(int fd, off_t size) noexcept {
    if (fails(Sys::kFtruncate)) return -1;
    static const auto real = next<int (*)(int, off_t)>({"ftruncate64"});
    return real(fd, size);
}
}

namespace testing_support {

const char *sys_name(Sys which) {
    return kCalls[int(which)].name;
}

SysFault::SysFault(Sys which, int nth) {
    was_reached = false;
    countdown = nth;
    armed = int(which);
    if (which == Sys::kAllocation) allocation_.emplace(nth, true);
}

SysFault::~SysFault() {
    armed = -1;
}

bool SysFault::reached() const {
    return allocation_ ? AllocFault::disarm() : was_reached;
}

void kill_at_call(int nth) {
    calls_left = nth;
}

}  // namespace testing_support
