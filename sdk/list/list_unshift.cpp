#include <morvsdk/list.h>

#include "core/base/fail.h"

extern "C" int MLIBSzListUnshift(MLIBSZLIST **ppList, const char *sz) noexcept {
    if (!ppList || !*ppList || !sz) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return MLIBSzListInsert(ppList, 0, sz);
}
