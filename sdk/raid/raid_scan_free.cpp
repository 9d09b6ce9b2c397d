#include <morvsdk/raid.h>
#include <stdlib.h>

extern "C" void RAIDScanFree(RAID_SB_LIST *pList) noexcept {
    while (pList) {
        RAID_SB_LIST *const next = pList->pNext;
        free(pList->pSB);
        free(pList);
        pList = next;
    }
}
