#include "volume/unexport.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>
#include <morvsdk/service.h>
#include <morvsdk/share.h>
#include <morvsdk/volume.h>
#include <signal.h>
#include <stdio.h>

#include <algorithm>
#include <memory>
#include <string>

#include "core/account/share_change.h"
#include "core/account/share_list.h"
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

// Unmounts what is mounted at a path and below it, the last one first. What the tool says of its success is
// not believed: everything after this counts on it.
int unmount(const char *path) {
    for (ptrdiff_t before = PTRDIFF_MAX;;) {
        Mounts mounts;
        if (const int code = mounts.load(LOG_ERR)) return code;
        const auto is_in = [&](const Mount &mount) { return lies_below(mount.point, path); };
        const std::span<const Mount> all = mounts.all();
        const ptrdiff_t left = std::count_if(all.begin(), all.end(), is_in);
        if (left == 0) return 0;
        const std::string last(std::find_if(all.rbegin(), all.rend(), is_in)->point);
        if (left >= before) {
            MORV_LOG(LOG_ERR, "%s is still mounted", last.c_str());
            return ERR_DEVICE_BUSY;
        }
        before = left;
        VolumeUnmount(last.c_str());
    }
}

// All services, from the call of stop() to the end of the object.
class Services {
  public:
    Services() noexcept = default;
    Services(const Services &) = delete;
    Services &operator=(const Services &) = delete;
    ~Services() {
        if (stopped_) MORVServiceOnOffALL(MORV_SERVICES_START);
    }

    void stop() noexcept {
        stopped_ = true;
        MORVServiceOnOffALL(MORV_SERVICES_STOP);
    }

  private:
    bool stopped_ = false;
};

struct ListFreer {
    void operator()(MLIBSZLIST *list) const noexcept { MLIBSzListFree(list); }
};

int delete_shares(const char *path) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(1024);
    if (!list) return ERR_OUT_OF_MEMORY;
    const int count = MORVShareEnumByMntPath(&list, path);
    const std::unique_ptr<MLIBSZLIST, ListFreer> names(list);
    if (count < 0) {
        const int code = MLIBErrGet();
        MORV_LOG(LOG_ERR, "Failed to list the shares in %s, errno=0X%X", path, unsigned(code));
        return code;
    }
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
    Services services;
    MORVVolStopCGI(path);
    int code = unmount(path);
    if (code == ERR_DEVICE_BUSY) {
        services.stop();
        code = unmount(path);
    }
    if (code) return code;
    const int shares = delete_shares(path);
    const int fstab = remove_from_fstab(path);
    for (const char *const service : kFileServices)
        reload(service);
    return shares ? shares : fstab;
}

}  // namespace morv
