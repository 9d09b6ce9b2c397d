#include <morvsdk/volume.h>

#include "core/base/fail.h"
#include "core/base/log.h"

extern "C" int VolumeIsWritable(const VOLUME_INFO *info, int32_t *flags) noexcept {
    constexpr int32_t kStillWritable = VOLUME_RAID_DEGRADED | VOLUME_SYSTEM_DEGRADED;
    if (!info) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int32_t found;
    if (VolumeHealthyCheck(info, &found) != 0) return -1;
    if (flags) *flags = found;
    return (found & ~kStillWritable) == 0;
}
