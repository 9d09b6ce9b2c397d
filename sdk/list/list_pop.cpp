#include <morvsdk/list.h>

#include "core/base/fail.h"

extern "C" char *SzMLIBSzListPop(MLIBSZLIST *pList) noexcept {
    if (!pList) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    return SzMLIBSzListRemove(pList, pList->nItem - 1);
}
