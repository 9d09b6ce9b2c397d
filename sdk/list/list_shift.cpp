#include <morvsdk/list.h>

#include "core/base/fail.h"

extern "C" char *SzMLIBSzListShift(MLIBSZLIST *pList) noexcept {
    if (!pList) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    return SzMLIBSzListRemove(pList, 0);
}
