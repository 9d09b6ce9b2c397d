#include "volume/unexport.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/share.h>
#include <morvsdk/volume.h>
#include <signal.h>
#include <stdio.h>

#include <memory>

#include "core/account/share_change.h"
#include "core/base/log.h"
#include "core/file/file_edit.h"
#include "core/file/sys_path.h"
#include "core/storage/fstab.h"
#include "core/system/mounts.h"
#include "core/system/process.h"

namespace morv {

namespace {

constexpr const char *kFileServices[] = {"smbd", "nmbd", "afpd", "ftpd"};
constexpr unsigned kLockSeconds = 5;

// What the tool says of its success is not believed: everything after this counts on it.
int unmount(const char *path) {
    constexpr int kMostMounts = 8;  // on top of each other
    for (int i = 0; i <= kMostMounts; ++i) {
        Mounts mounts;
        if (const int code = mounts.load()) return code;
        if (!mounts.at(path)) return 0;
        if (i < kMostMounts && VolumeUnmount(path) != 0) break;
    }
    return ERR_DEVICE_BUSY;
}

struct ListFreer {
    void operator()(MLIBSZLIST *list) const noexcept { MLIBSzListFree(list); }
};

int delete_shares(const char *path) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(1024);
    if (!list) return ERR_OUT_OF_MEMORY;
    const int count = MORVShareEnumByMntPath(&list, path);
    const std::unique_ptr<MLIBSZLIST, ListFreer> names(list);
    if (count < 0) return MLIBErrGet();
    int result = 0;
    for (int i = 0; i < count; ++i) {
        const char *const name = SzMLIBSzListGet(list, i);
        const int code = delete_share(name, ShareFolder::kLeave);
        if (code == 0 || code == ERR_NO_SUCH_SHARE) continue;
        MORV_LOG(LOG_ERR, "Failed to delete share %s, errno=0X%X", name, unsigned(code));
        result = code;
    }
    return result;
}

int edit_fstab(const char *path) {
    FileEdit file;
    if (const int code = file.open(SysPath("/etc/fstab").c_str(), FileEdit::kMayCreate, ERR_READ_FAILED))
        return code;
    std::string text;
    remove_mount_point(file.text(), path, text);
    return text == file.text() ? 0 : file.commit(text);
}

int remove_from_fstab(const char *path) {
    if (ErrMLIBFileLock(MORV_LOCK_FSTAB | MORV_LOCK_WRITE, kLockSeconds) != 0) return ERR_LOCK_FAILED;
    const int code = edit_fstab(path);
    ErrMLIBFileUnlock(MORV_LOCK_FSTAB);
    if (code) MORV_LOG(LOG_ERR, "Failed to remove %s from /etc/fstab, errno=0X%X", path, unsigned(code));
    return code;
}

// A pid file may be older than the process that has its number now.
void reload(const char *service) noexcept {
    char path[64], name[64];
    snprintf(path, sizeof path, "/var/run/%s.pid", service);
    Process process;
    if (process.open(read_pid_file(path)) && process.name(name).find(service) != std::string_view::npos)
        process.signal(SIGHUP);
}

}  // namespace

int unexport_volume(const char *path) {
    MORVVolStopCGI(path);
    if (const int code = unmount(path)) {
        MORV_LOG(LOG_ERR, "%s is still mounted, errno=0X%X", path, unsigned(code));
        return code;
    }
    const int shares = delete_shares(path);
    const int fstab = remove_from_fstab(path);
    for (const char *const service : kFileServices)
        reload(service);
    return shares ? shares : fstab;
}

}  // namespace morv
