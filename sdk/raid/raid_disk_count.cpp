#include <morvsdk/raid.h>

#include "core/base/log.h"

extern "C" int RAIDDiskCount(const RAID_DISK *pDisks, int status) noexcept {
    if (!pDisks) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int count = 0;
    for (const RAID_DISK *disk = pDisks; disk; disk = disk->pNext)
        count += disk->status == status;
    return count;
}
