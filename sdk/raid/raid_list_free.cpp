#include <morvsdk/raid.h>
#include <stdlib.h>

extern "C" void RAIDListFree(RAID_LIST *pList) noexcept {
    while (pList) {
        RAID_LIST *const next = pList->pNext;
        RAIDInfoFree(pList->pInfo);
        free(pList);
        pList = next;
    }
}
