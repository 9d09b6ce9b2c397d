#include <morvsdk/disk.h>
#include <morvsdk/raid.h>

#include "core/base/log.h"

static int reserve_of(const RAID_INFO &array, uint64_t &bytes) {
    if (array.number > 100) {
        bytes = 0;
        return 0;
    }
    for (const RAID_DISK *disk = array.pDisks; disk; disk = disk->pNext) {
        int layout;
        if (PartitionLayoutGet(disk->szPath, &layout) != 0) continue;
        const uint64_t sectors = layout == DISK_LAYOUT_SMALL ? DISK_RESERVE_SMALL : DISK_RESERVE_LARGE;
        bytes = sectors * 512;
        return 0;
    }
    return ERR_PATH_NOT_FOUND;
}

extern "C" int RAIDRequireDevSizeGet(const RAID_INFO *pInfo, uint64_t *pBytes) noexcept {
    if (!pInfo || !pBytes) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    if (pInfo->type == RAID_TYPE_RAID0 || pInfo->type == RAID_TYPE_LINEAR) {
        *pBytes = 0;
        return 0;
    }
    constexpr uint64_t kSuperblock = 65536;
    uint64_t reserve, bytes;
    if (const int code = reserve_of(*pInfo, reserve)) {
        MORV_LOG(LOG_DEBUG, "Failed to get the disk layout of %s", pInfo->szPath);
        return MORV_FAIL(code, -1);
    }
    if (__builtin_add_overflow(pInfo->componentSize, reserve + kSuperblock, &bytes))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_UNKNOWN, -1, "The size of the members of %s is not known",
                             pInfo->szPath);
    *pBytes = bytes;
    return 0;
}
