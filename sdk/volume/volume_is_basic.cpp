#include <morvsdk/volume.h>
#include <stdio.h>

#include "core/base/log.h"
#include "core/file/key_value.h"

// Whether the appliance made the array as the beginning of a larger one.
static bool is_marked_basic(int32_t number) noexcept {
    char key[32];
    snprintf(key, sizeof key, "md%d_level", number);
    return morv::has_key_value("/etc/morvinfo.conf", key, "99");
}

extern "C" int VolumeIsBasic(const VOLUME_INFO *info) noexcept {
    if (!info) {
        MORV_LOG(LOG_DEBUG, "Bad parameters");
        return 0;
    }
    if (info->pVg && info->pVg->pPvs && info->pVg->pPvs->pNext) return 0;
    if (info->kind == VOLUME_ON_DISK) return 1;
    const RAID_INFO *const raid = info->pRaids ? info->pRaids->pInfo : nullptr;
    if (!raid || (raid->type != RAID_TYPE_RAID0 && raid->type != RAID_TYPE_RAID1)) return 0;
    return raid->raidDisks == 1 || (raid->type == RAID_TYPE_RAID1 && is_marked_basic(raid->number));
}
