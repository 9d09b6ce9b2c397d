#include <morvsdk/internal/list.h>

#include "core/base/fail.h"
#include "list/list_block.h"

extern "C" MLIBSZLIST *PslMLIBISzListExpand(MLIBSZLIST *pList) noexcept {
    if (!pList) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    MLIBSZLIST *const larger = morv::list_enlarged(pList, 0);
    if (!larger) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    free(pList);
    return larger;
}
