#include "core/file/lock_table.h"

#include <fcntl.h>
#include <morvsdk/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iterator>

#include "core/base/guard.h"
#include "core/file/aside.h"
#include "core/file/sys_path.h"

namespace morv {

// Without the slash at its end, which would make lstat follow a link.
static constexpr char kLockFolder[] = "/tmp/lock";

static LockEntry rgslckList[] = {
    {-1, "/tmp/lock/lock_morvinfo", MORV_LOCK_MORVINFO, 0, 0},
    {-1, "/tmp/lock/lock_pw", MORV_LOCK_PW, 0, 0},
    {-1, "/tmp/lock/lock_gr", MORV_LOCK_GR, 0, 0},
    {-1, "/tmp/lock/lock_rc", MORV_LOCK_RC, 0, 0},
    {-1, "/tmp/lock/lock_host", MORV_LOCK_HOST, 0, 0},
    {-1, "/tmp/lock/lock_smb", MORV_LOCK_SMB, 0, 0},
    {-1, "/tmp/lock/lock_exports", MORV_LOCK_EXPORTS, 0, 0},
    {-1, "/tmp/lock/lock_nw", MORV_LOCK_NW, 0, 0},
    {-1, "/tmp/lock/lock_apple", MORV_LOCK_APPLE, 0, 0},
    {-1, "/tmp/lock/lock_snmp", MORV_LOCK_SNMP, 0, 0},
    {-1, "/tmp/lock/lock_win", MORV_LOCK_WIN, 0, 0},
    {-1, "/tmp/lock/lock_tapebkp", MORV_LOCK_TAPEBKP, 0, 0},
    {-1, "/tmp/lock/lock_connect", MORV_LOCK_CONNECT, 0, 0},
    {-1, "/tmp/lock/lock_usbidmap", MORV_LOCK_USBIDMAP, 0, 0},
    {-1, "/tmp/lock/lock_duseruid", MORV_LOCK_DUSERUID, 0, 0},
    {-1, "/tmp/lock/lock_dusergid", MORV_LOCK_DUSERGID, 0, 0},
    {-1, "/tmp/lock/lock_fstab", MORV_LOCK_FSTAB, 0, 0},
    {-1, "/tmp/lock/lock_hotswap", MORV_LOCK_HOTSWAP, 0, 0},
    {-1, nullptr, 0, 0, 0},
};

static bool is_own_folder(const struct stat &st) noexcept {
    return S_ISDIR(st.st_mode) && (st.st_uid == 0 || st.st_uid == geteuid());
}

std::span<LockEntry> lock_table() noexcept {
    return {rgslckList, std::size(rgslckList) - 1};
}

int make_lock_files() noexcept {
    const SysPath folder(kLockFolder);
    struct stat st;
    // Who owns the folder could take a lock file away while it is held, and let a second holder in.
    if (lstat(folder.c_str(), &st) == 0 && !is_own_folder(st)) move_aside(folder.c_str());
    // Not through a link: who made it could point it elsewhere while locks are held.
    if (lstat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
        if (mkdir(folder.c_str(), 0700) == 0) {
            if (chmod(folder.c_str(), 0755) != 0) return ERR_CREATE_FAILED;
        } else if (lstat(folder.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
            // Else another process has made it in the meantime.
            return ERR_CREATE_FAILED;
        }
    }
    for (const LockEntry &entry : lock_table()) {
        const SysPath path(entry.path);
        move_aside_unless_regular(path.c_str());
        if (lstat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode)) continue;
        // No truncation: there is nothing in a lock file, and a link put here must not empty what it leads
        // to.
        const UniqueFd fd(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
        if (!fd || fstat(fd.get(), &st) != 0 || !S_ISREG(st.st_mode)) return ERR_OPEN_FAILED;
    }
    return 0;
}

bool close_lock(LockEntry &entry) noexcept {
    entry.count = 0;
    return close(std::exchange(entry.fd, -1)) == 0;
}

}  // namespace morv
