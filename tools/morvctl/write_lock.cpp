#include "morvctl/write_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <string>

#include "morvctl/failure.h"

namespace morvctl {

namespace {

constexpr LockName kLocks[] = {
    {"pw", MORV_LOCK_PW, "users"},
    {"gr", MORV_LOCK_GR, "groups"},
    {"smb", MORV_LOCK_SMB, "file sharing"},
    {"rc", MORV_LOCK_RC, "start-up"},
    {"host", MORV_LOCK_HOST, "host name and addresses"},
    {"exports", MORV_LOCK_EXPORTS, "NFS exports"},
    {"nw", MORV_LOCK_NW, "name server and gateway"},
    {"morvinfo", MORV_LOCK_MORVINFO, "/etc/morvinfo.conf"},
    {"apple", MORV_LOCK_APPLE, "AFP"},
    {"snmp", MORV_LOCK_SNMP, "SNMP"},
    {"win", MORV_LOCK_WIN, "Windows settings"},
    {"tapebkp", MORV_LOCK_TAPEBKP, "tape backup"},
    {"connect", MORV_LOCK_CONNECT, "connections"},
    {"usbidmap", MORV_LOCK_USBIDMAP, "USB device numbers"},
    {"duseruid", MORV_LOCK_DUSERUID, "domain user numbers"},
    {"dusergid", MORV_LOCK_DUSERGID, "domain group numbers"},
    {"fstab", MORV_LOCK_FSTAB, "mount table"},
    {"hotswap", MORV_LOCK_HOTSWAP, "disk hot swap"},
};

// A path that ends in "-" stands for all files that begin so.
constexpr struct {
    const char *path;
    uint32_t bit;
} kGuarded[] = {
    {"/etc/morvinfo.conf", MORV_LOCK_MORVINFO},
    {"/etc/passwd", MORV_LOCK_PW},
    {"/etc/shadow", MORV_LOCK_PW},
    {"/etc/morvuser.conf", MORV_LOCK_PW},
    {"/usr/morv/etc/private/smbpasswd", MORV_LOCK_PW},
    {"/etc/group", MORV_LOCK_GR},
    {"/etc/group_desc", MORV_LOCK_GR},
    {"/usr/morv/etc/smb.conf", MORV_LOCK_SMB},
    {"/etc/rc", MORV_LOCK_RC},
    {"/etc/rc.local", MORV_LOCK_RC},
    {"/etc/hosts", MORV_LOCK_HOST},
    {"/etc/hostname", MORV_LOCK_HOST},
    {"/etc/resolv.conf", MORV_LOCK_NW},
    {"/etc/sysconfig/network", MORV_LOCK_NW},
    {"/etc/sysconfig/network-scripts/ifcfg-", MORV_LOCK_HOST},
    {"/etc/exports", MORV_LOCK_EXPORTS},
    {"/usr/morv/etc/afpd.conf", MORV_LOCK_APPLE},
    {"/etc/snmpd.conf", MORV_LOCK_SNMP},
    {"/etc/snmp/snmpd.conf", MORV_LOCK_SNMP},
    {"/etc/fstab", MORV_LOCK_FSTAB},
};

// The folder that a file lies in, locked itself. A rewrite never replaces it, everyone who may change a file
// in it can open it, and nothing has to be made and left behind.
Fd lock_folder_of(const Session &session, const Target &target) {
    const auto fail = [&](int code) {
        MLIBErrSet(code);
        fail_library("lock " + target.name);
    };
    clear_errors();
    Fd folder(open(folder_of(target.path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) fail(ERR_OPEN_FAILED);
    // As patient as the library: a try every 50 ms.
    for (uint64_t tries = uint64_t{session.timeout} * 20; flock(folder.get(), LOCK_EX | LOCK_NB) != 0;
         --tries) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || tries == 0) fail(ERR_LOCK_FAILED);
        usleep(50000);
    }
    return folder;
}

pid_t parent_of(pid_t process) {
    const Fd fd(open(("/proc/" + std::to_string(process) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
    std::string stat;
    int parent = 0;
    // "PID (NAME) STATE PARENT"; the name may hold anything.
    if (!fd || !read_all(fd.get(), stat) || stat.rfind(')') == stat.npos) return 0;
    return sscanf(stat.c_str() + stat.rfind(')'), ") %*c %d", &parent) == 1 ? parent : 0;
}

bool is_ancestor(pid_t process) {
    for (pid_t ancestor = getppid(); ancestor > 0; ancestor = parent_of(ancestor)) {
        if (ancestor == process) return true;
    }
    return false;
}

// "PID:BITS,PID:BITS/ROOT"
constexpr char kHeldVariable[] = "MORVCTL_LOCKS";

// What was told to us, if it is about this system root, without those who are no longer there to hold a lock.
std::string held_above(const Session &session, uint32_t &bits) {
    std::string held;
    bits = 0;
    const char *told = secure_getenv(kHeldVariable);
    if (!told || session.root != strchrnul(told, '/')) return held;
    int process;
    unsigned entry;
    for (int length = 0; sscanf(told, "%d:%x%n", &process, &entry, &length) == 2; ++told) {
        if (is_ancestor(process)) {
            held.append(told, size_t(length)).append(",");
            bits |= entry;
        }
        told += length;
        if (*told != ',') break;
    }
    return held;
}

}  // namespace

std::span<const LockName> lock_names() {
    return kLocks;
}

uint32_t guarding_lock(const Session &session, const Target &target) {
    for (const auto &guarded : kGuarded) {
        const std::string path = system_path(session, guarded.path);
        if (path.ends_with('-') ? target.path.starts_with(path) : target.path == path) return guarded.bit;
    }
    return 0;
}

void make_lock_folder(const Session &session) {
    const std::string outer = system_path(session, "/tmp");
    const struct {
        std::string path;
        mode_t mode;
    } folders[] = {{outer, 01777}, {outer + "/lock", 0755}};
    for (const auto &[path, mode] : folders) {
        if (mkdir(path.c_str(), 0700) == 0) {
            if (chmod(path.c_str(), mode) != 0) fail_system("make " + path);
        } else if (errno != EEXIST) {
            fail_system("make " + path);
        }
    }
}

uint32_t locks_held_above(const Session &session) {
    uint32_t above;
    held_above(session, above);
    return above;
}

void prepare_locks(const Session &session, uint32_t bits) {
    const uint32_t above = locks_held_above(session);
    for (const LockName &lock : lock_names()) {
        if ((bits & above & lock.bit) == 0) continue;
        throw Failure(Exit::kLocked, std::string("cannot take the lock ") + lock.name +
                                         ": 'morvctl lock run' holds it, and this command needs it itself");
    }
    make_lock_folder(session);
}

void tell_held_locks(const Session &session, uint32_t bits) {
    uint32_t above;
    char own[32];
    snprintf(own, sizeof own, "%d:%x", int(getpid()), bits);
    setenv(kHeldVariable, (held_above(session, above) + own + session.root).c_str(), 1);
}

WriteLock::WriteLock(const Session &session, const Target &target) : bit_(guarding_lock(session, target)) {
    if (bit_ != 0) {
        const bool is_above = (bit_ & locks_held_above(session)) != 0;
        make_lock_folder(session);
        clear_errors();
        if (ErrMLIBFileLock(bit_ | MORV_LOCK_WRITE, is_above ? 0 : session.timeout) != 0) {
            if (!is_above || MLIBErrGet() != ERR_LOCK_FAILED) fail_library("lock " + target.name);
            bit_ = 0;
        }
    }
    folder_ = lock_folder_of(session, target);
}

WriteLock::~WriteLock() {
    if (bit_ != 0) ErrMLIBFileUnlock(bit_);
}

}  // namespace morvctl
