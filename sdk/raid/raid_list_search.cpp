#include <morvsdk/raid.h>
#include <string.h>

#include "core/base/log.h"

static bool has_key(const RAID_INFO &info, const RAID_CRITERIA &wanted) {
    if (!wanted.szKey) return false;
    if (wanted.mode == RAID_SEARCH_ARRAY) return strcmp(info.szPath, wanted.szKey) == 0;
    return RAIDDiskListSearch(info.pDisks, wanted.szKey, nullptr) == 1;
}

static bool has_flag(const RAID_INFO &info, const int32_t *rebuilding) {
    if (!rebuilding) return false;
    if (info.rebuild.state == RAID_REBUILD_NONE) return *rebuilding == 0;
    const bool can_rebuild =
        info.type == RAID_TYPE_RAID1 || info.type == RAID_TYPE_RAID5 || info.type == RAID_TYPE_RAID6;
    return *rebuilding == 1 && can_rebuild;
}

extern "C" int RAIDListSearch(const RAID_LIST *pList, const RAID_CRITERIA *pCriteria,
                              RAID_INFO **ppInfo) noexcept {
    if (!pCriteria) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const bool has_mode = pCriteria->mode == RAID_SEARCH_ARRAY || pCriteria->mode == RAID_SEARCH_MEMBER;
    if (pCriteria->szKey && !has_mode)
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    for (const RAID_LIST *node = pList; node; node = node->pNext) {
        if (!node->pInfo) {
            MORV_LOG(LOG_DEBUG, "RAID_INFO is NULL");
            continue;
        }
        if (!has_key(*node->pInfo, *pCriteria) && !has_flag(*node->pInfo, pCriteria->pRebuilding)) continue;
        if (ppInfo) *ppInfo = node->pInfo;
        return 1;
    }
    return 0;
}
