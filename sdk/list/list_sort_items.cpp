#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_order.h"

extern "C" void MLIBSzListSortItems(MLIBSZLIST *pList, int mode) noexcept {
    if (!pList) return MORV_FAIL(ERR_BAD_PARAMETERS, void());
    morv::list_arrange(pList, mode);
}
