#include <morvsdk/list.h>

#include "core/base/fail.h"
#include "list/list_block.h"

extern "C" char *SzMLIBSzListRemove(MLIBSZLIST *pList, int index) noexcept {
    if (!pList || index < 0 || index >= pList->nItem) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    return morv::list_take(pList, index);
}
