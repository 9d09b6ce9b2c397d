#include <morvsdk/raid.h>

#include "core/base/log.h"

extern "C" int RAIDDiskListPush(RAID_DISK **ppDisks, RAID_DISK *pDisk) noexcept {
    if (!ppDisks || !pDisk) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    pDisk->pNext = *ppDisks;
    *ppDisks = pDisk;
    return 0;
}
