#include <morvsdk/disk.h>
#include <morvsdk/raid.h>

#include <algorithm>

#include "core/base/log.h"

extern "C" int RAIDExpansible(const RAID_INFO *pInfo, uint64_t *pKiB) noexcept {
    if (!pInfo || !pKiB) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    uint64_t smallest = UINT64_MAX;
    for (const RAID_DISK *disk = pInfo->pDisks; disk; disk = disk->pNext) {
        uint64_t sectors;
        if (DiskSizeGet(disk->szPath, &sectors) == 1) smallest = std::min(smallest, sectors);
    }
    if (smallest == UINT64_MAX) {
        MORV_LOG(LOG_DEBUG, "Failed to get minimal device size, %s", pInfo->szPath);
        return MORV_FAIL(ERR_PATH_NOT_FOUND, -1);
    }
    // The superblock takes the last 128 sectors that begin at a multiple of as many.
    constexpr uint64_t kUnit = 128;
    uint64_t usable = smallest < kUnit ? 0 : (smallest / kUnit * kUnit - kUnit) / 2;
    uint32_t limit;
    if (RAIDSizeLimitGet(&limit) == 1) usable = std::min(usable, uint64_t{limit});
    if (usable <= pInfo->componentSize / 1024) return 0;
    *pKiB = usable;
    return 1;
}
