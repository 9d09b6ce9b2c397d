#include <morvsdk/volume.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/base/log.h"

namespace {

bool has_array(const VOLUME_INFO &info, int mode, const char *key) noexcept {
    const RAID_CRITERIA criteria = {key, nullptr, mode};
    return RAIDListSearch(info.pRaids, &criteria, nullptr) == 1;
}

bool matches(const VOLUME_INFO &info, int mode, const char *key) noexcept {
    switch (mode) {
        case VOLUME_SEARCH_DEVICE:
            return info.pFs && strcmp(info.pFs->szDevice, key) == 0;
        case VOLUME_SEARCH_VG:
            return info.pVg && strcmp(info.pVg->szPath, key) == 0;
        case VOLUME_SEARCH_RAID:
            return has_array(info, RAID_SEARCH_ARRAY, key);
        default:
            return matches(info, VOLUME_SEARCH_DEVICE, key) || has_array(info, RAID_SEARCH_MEMBER, key);
    }
}

}  // namespace

extern "C" int VolumeInfoListSearch(const VOLUME_INFO_LIST *list, const VOLUME_CRITERIA *criteria,
                                    VOLUME_INFO **info) noexcept {
    const int mode = criteria ? criteria->mode : 0;
    if (!criteria || !criteria->szKey ||
        (mode != VOLUME_SEARCH_DEVICE && mode != VOLUME_SEARCH_VG && mode != VOLUME_SEARCH_RAID &&
         mode != VOLUME_SEARCH_MEMBER))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, 0, "Bad parameters");
    for (; list; list = list->pNext) {
        if (!list->pInfo || !matches(*list->pInfo, mode, criteria->szKey)) continue;
        if (info) *info = list->pInfo;
        return 1;
    }
    return 0;
}
