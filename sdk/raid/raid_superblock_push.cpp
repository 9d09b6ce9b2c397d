#include <morvsdk/raid.h>
#include <stdlib.h>

#include "core/base/log.h"

extern "C" int RAIDSBPush(RAID_SB_LIST **ppList, RAID_SB *pSB) noexcept {
    if (!ppList || !pSB) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    RAID_SB_LIST *const node = static_cast<RAID_SB_LIST *>(malloc(sizeof *node));
    if (!node) return MORV_LOG_FAIL(LOG_DEBUG, ERR_OUT_OF_MEMORY, -1, "Out of memory");
    *node = {pSB, nullptr};
    while (*ppList)
        ppList = &(*ppList)->pNext;
    *ppList = node;
    return 0;
}
