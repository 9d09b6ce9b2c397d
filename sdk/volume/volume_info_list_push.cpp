#include <morvsdk/volume.h>
#include <stdlib.h>

#include "core/base/fail.h"
#include "core/base/log.h"

extern "C" int VolumeInfoListPush(VOLUME_INFO_LIST **list, VOLUME_INFO *info) noexcept {
    if (!list || !info) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    auto *const node = static_cast<VOLUME_INFO_LIST *>(calloc(1, sizeof(VOLUME_INFO_LIST)));
    if (!node) return MORV_LOG_FAIL(LOG_DEBUG, ERR_OUT_OF_MEMORY, -1, "Failed to add %s", info->szPath);
    node->pInfo = info;
    while (*list)
        list = &(*list)->pNext;
    *list = node;
    return 0;
}
