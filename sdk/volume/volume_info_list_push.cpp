#include <morvsdk/volume.h>
#include <stdlib.h>

#include "core/base/fail.h"
#include "core/base/log.h"

extern "C" int VolumeInfoListPush(VOLUME_INFO_LIST **list, VOLUME_INFO *info) noexcept {
    if (!list || !info) {
        MORV_LOG(LOG_DEBUG, "Bad parameters");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    auto *const node = static_cast<VOLUME_INFO_LIST *>(calloc(1, sizeof(VOLUME_INFO_LIST)));
    if (!node) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    node->pInfo = info;
    while (*list)
        list = &(*list)->pNext;
    *list = node;
    return 0;
}
