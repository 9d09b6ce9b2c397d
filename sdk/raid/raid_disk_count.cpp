#include <morvsdk/raid.h>

#include "core/base/fail.h"

extern "C" int RAIDDiskCount(const RAID_DISK *pDisks, int status) noexcept {
    if (!pDisks) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    for (const RAID_DISK *disk = pDisks; disk; disk = disk->pNext)
        count += disk->status == status;
    return count;
}
