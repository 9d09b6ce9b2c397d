#include <morvsdk/list.h>
#include <morvsdk/string.h>
#include <string.h>

#include "core/base/fail.h"

extern "C" int MORVStrNobodyFilter(const char *names, MLIBSZLIST **ppList) noexcept {
    if (!names || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (!*names) return 0;
    MLIBSzListRemoveAll(*ppList);
    if (MLIBStrSep(names, ",", ppList) < 0) return -1;
    for (int i = (*ppList)->nItem - 1; i >= 0; --i) {
        if (strcmp(SzMLIBSzListGet(*ppList, i), "nobody") == 0) SzMLIBSzListRemove(*ppList, i);
    }
    return (*ppList)->nItem;
}
