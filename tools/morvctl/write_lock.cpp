#include "morvctl/write_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>

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
    {"nw", MORV_LOCK_NW, "NetWare"},
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
    {"/etc/resolv.conf", MORV_LOCK_HOST},
    {"/etc/sysconfig/network", MORV_LOCK_HOST},
    {"/etc/sysconfig/network-scripts/ifcfg-", MORV_LOCK_HOST},
    {"/etc/exports", MORV_LOCK_EXPORTS},
    {"/usr/morv/etc/afpd.conf", MORV_LOCK_APPLE},
    {"/etc/snmpd.conf", MORV_LOCK_SNMP},
    {"/etc/snmp/snmpd.conf", MORV_LOCK_SNMP},
    {"/etc/fstab", MORV_LOCK_FSTAB},
};

// 64-bit FNV-1a. Two files of one value share a lock, which only makes one wait for the other.
uint64_t hash_of(std::string_view text) {
    uint64_t hash = 0xcbf29ce484222325u;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 0x100000001b3u;
    }
    return hash;
}

// The folder's path, checked to belong to nobody who might take the files away under us.
Fd open_lock_folder(const Session &session) {
    const std::string path = system_path(session, "/tmp") + "/lock";
    Fd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat st;
    if (!folder || fstat(folder.get(), &st) != 0) {
        MLIBErrSet(ERR_OPEN_FAILED);
        fail_library("open the lock folder " + path);
    }
    if (st.st_uid != 0 && st.st_uid != geteuid()) {
        errno = EPERM;
        fail_system("use the lock folder " + path + ", which belongs to another user");
    }
    return folder;
}

Fd open_lock_file(const Session &session, const Target &target) {
    const Fd folder = open_lock_folder(session);
    std::string_view place = target.path;
    if (!session.root.empty() && place.starts_with(session.root)) place.remove_prefix(session.root.size());
    char name[32];
    snprintf(name, sizeof name, "file_%016llx", static_cast<unsigned long long>(hash_of(place)));
    Fd file(openat(folder.get(), name, O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644));
    struct stat st;
    if (file && (fstat(file.get(), &st) != 0 || !S_ISREG(st.st_mode))) {
        errno = EINVAL;
        file.reset();
    }
    if (!file) {
        MLIBErrSet(ERR_OPEN_FAILED);
        fail_library("lock " + target.name);
    }
    return file;
}

// As patient as the library: a try every 50 ms.
void take(const Fd &file, const Session &session, const Target &target) {
    for (uint64_t tries = uint64_t{session.timeout} * 20;; --tries) {
        if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) return;
        if ((errno != EWOULDBLOCK && errno != EINTR) || tries == 0) {
            MLIBErrSet(ERR_LOCK_FAILED);
            fail_library("lock " + target.name);
        }
        usleep(50000);
    }
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

WriteLock::WriteLock(const Session &session, const Target &target) : bit_(guarding_lock(session, target)) {
    make_lock_folder(session);
    clear_errors();
    if (bit_ == 0) {
        file_ = open_lock_file(session, target);
        take(file_, session, target);
    } else if (ErrMLIBFileLock(bit_ | MORV_LOCK_WRITE, session.timeout) != 0) {
        fail_library("lock " + target.name);
    }
}

WriteLock::~WriteLock() {
    if (bit_ != 0) ErrMLIBFileUnlock(bit_);
}

}  // namespace morvctl
