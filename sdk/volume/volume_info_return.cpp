#include <morvsdk/error.h>
#include <stdlib.h>

#include <string_view>

#include "core/base/log.h"
#include "core/storage/device_name.h"
#include "core/storage/file_system.h"
#include "core/storage/volume_name.h"
#include "core/text/field_text.h"
#include "volume/volume_info.h"

namespace morv {

namespace {

// An array whose device cannot be opened, or that stops while it is read, says no more about the volume than
// one that is not there. One of which something else cannot be opened has its say: it may be crashed.
bool says_nothing(const char *path) noexcept {
    const int code = MLIBErrGet();
    if (code != ERR_OPEN_FAILED) return code == ERR_INVALID_ARRAY || code == ERR_PATH_NOT_FOUND;
    const int detected = RAIDIsDetected(path);
    return detected == 0 || (detected < 0 && MLIBErrGet() == ERR_OPEN_FAILED);
}

int add_array(VOLUME_INFO &info, const char *path) noexcept {
    int32_t number;
    if (!array_number(path, number)) return 0;
    RAID_INFO *raid = nullptr;
    const int found = RAIDInfoGet(path, &raid);
    if (found == 0) return 0;
    if (found < 0) return says_nothing(path) ? 0 : kErrorIsSet;
    if (RAIDListPush(&info.pRaids, raid) == 0) return 0;
    RAIDInfoFree(raid);
    return kErrorIsSet;
}

int add_group(StorageView &view, VOLUME_INFO &info, const char *group) {
    const LvmStatus *lvm;
    if (const int code = view.lvm(lvm)) return code;
    if (const int code = lvm->read(group, &info.pVg)) return code;
    if (!info.pVg) {
        MappedPath array;
        return map_path(info.szPath, VOLUME_TO_RAID, array) ? add_array(info, array) : 0;
    }
    info.kind = VOLUME_ON_LVM;
    for (const LVM_PV *volume = info.pVg->pPvs; volume; volume = volume->pNext) {
        if (volume->status != LVM_PV_NORMAL) continue;
        if (const int code = add_array(info, volume->szPath)) return code;
    }
    return 0;
}

int add_below_mounted(StorageView &view, VOLUME_INFO &info) {
    const std::string_view device = info.pFs->szDevice;
    MappedPath group;
    if (device.starts_with("/dev/sd")) {
        info.kind = VOLUME_ON_DISK;
        return 0;
    }
    if (device.starts_with("/dev/md")) {
        info.kind = VOLUME_ON_RAID;
        return add_array(info, info.pFs->szDevice);
    }
    if (!group_of_device(device, group)) return 0;
    info.kind = VOLUME_ON_LVM;
    return add_group(view, info, group);
}

// Nothing tells what it lies on but its name.
int add_below_unmounted(StorageView &view, VOLUME_INFO &info) {
    MappedPath mapped;
    int code = 0;
    if (info.location == VOLUME_INTERNAL && view.supports_raid() &&
        map_path(info.szPath, VOLUME_TO_VG, mapped)) {
        code = add_group(view, info, mapped);
    } else if (info.location == VOLUME_EXPANSION && map_path(info.szPath, VOLUME_TO_RAID, mapped)) {
        code = add_array(info, mapped);
    }
    if (info.pRaids && info.kind == VOLUME_ON_UNKNOWN) info.kind = VOLUME_ON_RAID;
    return code;
}

}  // namespace

int return_volume(StorageView &view, const char *path, VolumePtr &info) {
    VOLUME_ID id;
    VolumePtr read(static_cast<VOLUME_INFO *>(calloc(1, sizeof(VOLUME_INFO))));
    if (!read) return ERR_OUT_OF_MEMORY;
    if (!parse_volume(path, id) || !copy_text(read->szPath, path)) {
        MORV_LOG(LOG_DEBUG, "NOT supported volume path: %s", path);
        return ERR_BAD_PARAMETERS;
    }
    read->number = id.number;
    read->location = id.location;
    if (const Mount *const mount = view.mounts().at(path)) {
        if (const int code = read_file_system(*mount, &read->pFs)) {
            MORV_LOG(LOG_DEBUG, "Failed to get file system info, path=%s, errno=0X%X", path, unsigned(code));
            return code == ERR_OUT_OF_MEMORY ? code : int{ERR_UNKNOWN};
        }
    }
    const int code = read->pFs ? add_below_mounted(view, *read) : add_below_unmounted(view, *read);
    if (code) return code;
    if (read->pFs || read->pVg || read->pRaids) info = std::move(read);
    return 0;
}

}  // namespace morv
