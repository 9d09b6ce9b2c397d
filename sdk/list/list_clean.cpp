#include <morvsdk/internal/list.h>

#include "core/base/fail.h"
#include "list/list_block.h"

extern "C" void MLIBISzListClean(MLIBSZLIST *pList) noexcept {
    if (!pList) return MORV_FAIL(ERR_BAD_PARAMETERS, void());
    morv::list_clean(pList);
}
