#include <morvsdk/raid.h>
#include <stdlib.h>

extern "C" void RAIDDiskListFree(RAID_DISK *pDisks) noexcept {
    while (pDisks) {
        RAID_DISK *const next = pDisks->pNext;
        free(pDisks);
        pDisks = next;
    }
}
