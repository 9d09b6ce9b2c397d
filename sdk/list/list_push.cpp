#include <morvsdk/list.h>

#include "core/base/fail.h"

extern "C" int MLIBSzListPush(MLIBSZLIST **ppList, const char *sz) noexcept {
    if (!ppList || !*ppList || !sz) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return MLIBSzListInsert(ppList, (*ppList)->nItem, sz);
}
