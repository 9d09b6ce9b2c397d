#include <morvsdk/list.h>

#include "core/base/fail.h"

extern "C" const char *SzMLIBSzListGet(const MLIBSZLIST *pList, int index) noexcept {
    if (!pList || index < 0 || index >= pList->nItem) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    return pList->pszItem[index];
}
