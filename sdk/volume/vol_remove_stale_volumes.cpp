#include <errno.h>
#include <stdio.h>
#include <sys/stat.h>

#include <set>
#include <string>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/storage_view.h"
#include "core/storage/volume_name.h"
#include "volume/unexport.h"

using namespace morv;

namespace {

bool is_there(const char *path) noexcept {
    struct stat st;
    return stat(SysPath(path).c_str(), &st) == 0 || errno != ENOENT;
}

// Whether the kernel is known to run no such array. One that could merely not be asked about is not.
bool is_vanished_array(const char *path) noexcept {
    int32_t number;
    if (!array_number(path, number)) return false;
    // "/dev/md02" is array 2.
    char device[32], folder[32];
    snprintf(device, sizeof device, "/dev/md%d", number);
    snprintf(folder, sizeof folder, "/sys/block/md%d", number);
    const int detected = RAIDIsDetected(device);
    if (detected >= 0) return detected == 0;
    return is_there("/sys/block") && !is_there(folder);
}

int is_stale(StorageView &view, const Mount &mount, bool &stale) {
    const std::string device(mount.device);
    MappedPath group;
    stale = is_vanished_array(device.c_str());
    if (stale || !group_of_device(device, group)) return 0;
    const LvmStatus *lvm;
    if (const int code = view.lvm(lvm)) return code;
    LVM_VG_INFO *info = nullptr;
    if (const int code = lvm->read(group, &info)) return code;
    const std::unique_ptr<LVM_VG_INFO, Releaser<LVMVgInfoFree>> owner(info);
    const LVM_PV *volume = info ? info->pPvs : nullptr;
    if (!volume) return 0;
    while (volume && is_vanished_array(volume->szPath))
        volume = volume->pNext;
    stale = !volume;
    return 0;
}

int remove_if_stale(const char *path) {
    StorageView view;
    if (const int code = view.load(LOG_ERR)) return code;
    const Mount *const mount = view.mounts().at(path);
    bool stale = false;
    if (mount) {
        if (const int code = is_stale(view, *mount, stale)) return code;
    }
    if (!stale) return 0;
    MORV_LOG(LOG_ERR, "The array of %s is gone", path);
    return unexport_volume(path, is_stale);
}

// Taking a volume down takes seconds, in which others may be mounted anew: each is judged by what is mounted
// when its turn comes.
int remove_stale() {
    std::set<std::string> paths;
    {
        Mounts mounts;
        if (const int code = mounts.load(LOG_ERR)) return code;
        for (const Mount &mount : mounts.all()) {
            if (is_fixed_volume(mount.point)) paths.emplace(mount.point);
        }
    }
    int result = 0;
    for (const std::string &path : paths) {
        const int code = no_throw([&] { return remove_if_stale(path.c_str()); });
        if (code == 0) continue;
        MORV_LOG(LOG_ERR, "Failed to remove %s, errno=0X%X", path.c_str(), unsigned(code));
        result = code;
    }
    return result;
}

}  // namespace

extern "C" int MORVVolRemoveStaleVolumes() noexcept {
    const int code = no_throw(remove_stale);
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to remove stale volumes, errno=0X%X", unsigned(code));
}
