#include <morvsdk/raid.h>

extern "C" void RAIDSystemFree(RAID_SYSTEM *pSystem) noexcept {
    if (!pSystem) return;
    RAIDInfoFree(pSystem->pMd0);
    RAIDInfoFree(pSystem->pMd1);
    *pSystem = {nullptr, nullptr};
}
