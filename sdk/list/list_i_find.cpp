#include <morvsdk/internal/list.h>

#include "core/base/fail.h"
#include "list/list_order.h"

extern "C" int MLIBISzListFind(const MLIBSZLIST *pList, int high, int low, const char *sz,
                               int caseless) noexcept {
    using namespace morv;
    if (!pList || !sz || low < 0 || high >= pList->nItem) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (high == -1) return -1;
    return caseless ? list_search<ByCase>(pList, low, high, sz) : list_search<ByBytes>(pList, low, high, sz);
}
