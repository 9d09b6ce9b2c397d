#include <morvsdk/raid.h>
#include <string.h>

#include "core/base/log.h"

extern "C" int RAIDDiskListSearch(RAID_DISK *pDisks, const char *path, RAID_DISK **ppDisk) noexcept {
    if (!path) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, 0, "Bad parameters");
    for (RAID_DISK *disk = pDisks; disk; disk = disk->pNext) {
        if (strcmp(disk->szPath, path) != 0) continue;
        if (ppDisk) *ppDisk = disk;
        return 1;
    }
    return 0;
}
