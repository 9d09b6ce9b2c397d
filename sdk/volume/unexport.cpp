#include "volume/unexport.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>
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
#include "core/base/no_throw.h"
#include "core/file/family_lock.h"
#include "core/file/file_edit.h"
#include "core/file/sys_path.h"
#include "core/storage/fstab.h"
#include "core/system/process.h"
#include "core/system/services.h"
#include "core/text/list_guard.h"

namespace morv {

namespace {

constexpr const char *kFileServices[] = {"smbd", "nmbd", "afpd", "ftpd"};

// The test of an unconditional end.
int always(StorageView &, const Mount &, bool &goes) noexcept {
    goes = true;
    return 0;
}

// Unmounts what is mounted at a path and below it, the last one first, as long as what is visible at the path
// passes the test: it is asked anew before each. What the tool says of its success is not believed:
// everything after this counts on it. is_free: whether nothing is left.
int unmount(const char *path, MountTest test, bool &is_free) {
    for (ptrdiff_t before = PTRDIFF_MAX;;) {
        StorageView view;
        if (const int code = view.load(LOG_ERR)) return code;
        const auto is_in = [&](const Mount &mount) { return lies_below(mount.point, path); };
        const std::span<const Mount> all = view.mounts().all();
        const ptrdiff_t left = std::count_if(all.begin(), all.end(), is_in);
        is_free = left == 0;
        if (is_free) return 0;
        // What was mounted after the one at the path lies in it.
        const Mount &last = *std::find_if(all.rbegin(), all.rend(), is_in);
        const Mount *const top = view.mounts().at(path);
        bool goes;
        if (const int code = test(view, top ? *top : last, goes)) return code;
        if (!goes) return 0;
        const std::string point(last.point);
        if (left >= before) {
            MORV_LOG(LOG_ERR, "%s is still mounted", point.c_str());
            return ERR_DEVICE_BUSY;
        }
        before = left;
        VolumeUnmount(point.c_str());
    }
}

int delete_shares(const char *path) {
    MLIBSZLIST *list = PslMLIBSzListAlloc(1024);
    if (!list) return ERR_OUT_OF_MEMORY;
    const int count = MORVShareEnumByMntPath(&list, path);
    const ListPtr names(list);
    if (count < 0) {
        const int code = MLIBErrGet();
        MORV_LOG(LOG_ERR, "Failed to list the shares in %s, errno=0X%X", path, unsigned(code));
        return code;
    }
    int result = 0;
    for (int i = 0; i < count; ++i) {
        const char *const name = SzMLIBSzListGet(list, i);
        const int code = forget_share(name, path);
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
    const FamilyLock lock(MORV_LOCK_FSTAB | MORV_LOCK_WRITE);
    if (!lock.is_held()) return ERR_LOCK_FAILED;
    const int code = no_throw([&] { return edit_fstab(path); });
    if (code) MORV_LOG(LOG_ERR, "Failed to remove %s from /etc/fstab, errno=0X%X", path, unsigned(code));
    return code;
}

void reload(const char *service) noexcept {
    char path[64];
    snprintf(path, sizeof path, "/var/run/%s.pid", service);
    reload_daemon(path, service);
}

}  // namespace

int unexport_volume(const char *path) noexcept {
    return unexport_volume(path, always);
}

int unexport_volume(const char *path, MountTest test) noexcept {
    ServicePause pause;
    bool is_free = false;
    const auto try_unmount = [&] { return unmount(path, test, is_free); };
    MORVVolStopCGI(path);
    int code = no_throw(try_unmount);
    if (code == ERR_DEVICE_BUSY) {
        code = pause.begin();
        if (code == 0) code = no_throw(try_unmount);
    }
    if (code == 0 && is_free) {
        code = delete_shares(path);
        const int fstab = remove_from_fstab(path);
        if (code == 0) code = fstab;
        for (const char *const service : kFileServices)
            reload(service);
    } else if (code == 0) {
        MORV_LOG(LOG_ERR, "%s is in use by others, and keeps its shares", path);
    }
    const int started = pause.end();
    return code ? code : started;
}

}  // namespace morv
