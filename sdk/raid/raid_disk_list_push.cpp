#include <morvsdk/raid.h>

#include "core/base/fail.h"

extern "C" int RAIDDiskListPush(RAID_DISK **ppDisks, RAID_DISK *pDisk) noexcept {
    if (!ppDisks || !pDisk) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    pDisk->pNext = *ppDisks;
    *ppDisks = pDisk;
    return 0;
}
