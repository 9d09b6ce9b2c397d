#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/storage_view.h"
#include "core/storage/volume_name.h"
#include "core/text/field_text.h"
#include "volume/unexport.h"

using namespace morv;

namespace {

bool is_there(const char *path) noexcept {
    struct stat st;
    return stat(SysPath(path).c_str(), &st) == 0 || errno != ENOENT;
}

// Whether the kernel is known to run no such array. One that could merely not be asked about is not.
bool has_vanished(const char *array) noexcept {
    const int detected = RAIDIsDetected(array);
    if (detected >= 0) return detected == 0;
    const std::string_view name = last_name(array);
    char folder[64] = "/sys/block/";
    const size_t length = strlen(folder);
    return name.size() < sizeof folder - length && is_there("/sys/block") &&
           copy_text({folder + length, sizeof folder - length}, name) && !is_there(folder);
}

bool is_vanished_array(const char *path) noexcept {
    int32_t number;
    return array_number(path, number) && has_vanished(path);
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

int remove_stale() {
    StorageView view;
    if (const int code = view.load(LOG_ERR)) return code;
    int result = 0;
    for (const Mount &mount : view.mounts().all()) {
        if (!is_fixed_volume(mount.point) || !view.mounts().is_visible(mount)) continue;
        const std::string path(mount.point);
        bool stale;
        int code = is_stale(view, mount, stale);
        if (code == 0 && stale) {
            MORV_LOG(LOG_ERR, "The array of %s is gone", path.c_str());
            code = unexport_volume(path.c_str());
        }
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
