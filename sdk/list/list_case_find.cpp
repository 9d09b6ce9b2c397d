#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_order.h"

extern "C" int MLIBSzListCaseFind(const MLIBSZLIST *pList, const char *sz) noexcept {
    using namespace morv;
    if (!pList || !sz) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const ListOrder order = list_order(pList);
    if (order == ListOrder::bytes) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (order == ListOrder::none) return list_scan<ByCase>(pList, sz);
    const int found = list_search<ByCase>(pList, sz);
    return found < 0 ? -1 : found;
}
