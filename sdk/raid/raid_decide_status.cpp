#include <morvsdk/raid.h>

#include "core/base/log.h"

static int64_t tolerance_of(const mdu_array_info_t &array) {
    switch (array.level) {
        case 1:
            return int64_t{array.raid_disks} - 1;
        case 5:
            return 1;
        case 6:
            return 2;
        default:
            return 0;
    }
}

static int32_t decide(const mdu_array_info_t &array, const RAID_DISK *disks) {
    int in_sync = 0;
    bool has_error = false;
    for (const RAID_DISK *disk = disks; disk; disk = disk->pNext) {
        in_sync += disk->status == RAID_DISK_IN_SYNC;
        has_error |= disk->status == RAID_DISK_ERROR;
    }
    if (!disks || has_error) return RAID_CRASHED;
    const int64_t missing = int64_t{array.raid_disks} - in_sync;
    if (missing <= 0) return RAID_NORMAL;
    return missing > tolerance_of(array) ? RAID_CRASHED : RAID_DEGRADED;
}

extern "C" int RAIDStatusDecide(const mdu_array_info_t *pArray, const RAID_DISK *pDisks,
                                int32_t *pStatus) noexcept {
    if (!pArray || !pStatus) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    *pStatus = decide(*pArray, pDisks);
    return 0;
}
