#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_order.h"

namespace {

using namespace morv;

// Where a new item goes: before an equal one in a sorted list, else where the caller says.
int place(const MLIBSZLIST *list, int index, const char *text) noexcept {
    const ListOrder order = list_order(list);
    if (order == ListOrder::none) return index;
    const int found = with_order(order, [&](auto by) { return list_search<decltype(by)>(list, text); });
    return found >= 0 ? found : ~found;
}

}  // namespace

extern "C" int MLIBSzListInsert(MLIBSZLIST **ppList, int index, const char *sz) noexcept {
    if (!ppList || !*ppList || !sz || index < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    index = place(*ppList, index, sz);
    if (!list_insert_at(*ppList, index, sz)) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    return index;
}
