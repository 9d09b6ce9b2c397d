#include <morvsdk/raid.h>

#include "core/base/log.h"

extern "C" int RAIDRemove(const RAID_INFO *pInfo) noexcept {
    if (!pInfo) {
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    }
    // Only a running array tells its UUID.
    char uuid[sizeof RAID_SB{}.szUUID];
    const bool has_uuid = RAIDUUIDGet(pInfo->szPath, uuid, sizeof uuid) == 1;
    if (RAIDStop(pInfo->szPath) != 0) return -1;
    if (has_uuid && RAIDCleanSuperblock(pInfo, uuid) != 0) {
        MORV_LOG(LOG_ERR, "Failed to clean the superblocks of %s", pInfo->szPath);
    }
    return 0;
}
