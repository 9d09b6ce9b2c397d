#include <morvsdk/raid.h>

extern "C" void RAIDSBEnumFree(RAID_SB_LIST *pList) noexcept {
    RAIDScanFree(pList);
}
