#include <morvsdk/raid.h>
#include <stdlib.h>

extern "C" void RAIDInfoFree(RAID_INFO *pInfo) noexcept {
    if (pInfo) RAIDDiskListFree(pInfo->pDisks);
    free(pInfo);
}
