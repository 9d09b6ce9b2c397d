#include <morvsdk/volume.h>

#include "core/base/fail.h"
#include "core/base/log.h"

extern "C" int VolumeIsWritable(const VOLUME_INFO *info, int32_t *flags) noexcept {
    constexpr int32_t kStillWritable = VOLUME_RAID_DEGRADED | VOLUME_SYSTEM_DEGRADED;
    if (!info) {
        MORV_LOG(LOG_DEBUG, "Bad parameters");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    int32_t found;
    if (VolumeHealthyCheck(info, &found) != 0) return -1;
    if (flags) *flags = found;
    return (found & ~kStillWritable) == 0;
}
