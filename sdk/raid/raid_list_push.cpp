#include <morvsdk/raid.h>
#include <stdlib.h>

#include "core/base/log.h"

extern "C" int RAIDListPush(RAID_LIST **ppList, RAID_INFO *pInfo) noexcept {
    if (!ppList || !pInfo) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    RAID_LIST *const node = static_cast<RAID_LIST *>(malloc(sizeof *node));
    if (!node) return MORV_LOG_FAIL(LOG_DEBUG, ERR_OUT_OF_MEMORY, -1, "Out of memory");
    RAID_LIST **const place = *ppList ? &(*ppList)->pNext : ppList;
    *node = {pInfo, *place};
    *place = node;
    return 0;
}
