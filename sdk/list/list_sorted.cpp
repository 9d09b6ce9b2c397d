#include <morvsdk/list.h>

#include "core/base/fail.h"

extern "C" int MLIBSzListSorted(const MLIBSZLIST *pList) noexcept {
    if (!pList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return static_cast<int>(pList->fMode);
}
