#include <morvsdk/raid.h>
#include <stdlib.h>

#include "core/base/fail.h"

extern "C" int RAIDListPush(RAID_LIST **ppList, RAID_INFO *pInfo) noexcept {
    if (!ppList || !pInfo) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    RAID_LIST *const node = static_cast<RAID_LIST *>(malloc(sizeof *node));
    if (!node) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    RAID_LIST **const place = *ppList ? &(*ppList)->pNext : ppList;
    *node = {pInfo, *place};
    *place = node;
    return 0;
}
