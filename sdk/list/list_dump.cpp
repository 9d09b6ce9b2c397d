#include <morvsdk/internal/list.h>
#include <stdio.h>

#include "core/base/fail.h"

extern "C" void MLIBISzListDump(const MLIBSZLIST *pList) noexcept {
    if (!pList) return MORV_FAIL(ERR_BAD_PARAMETERS, void());
    printf("%p start address \n", static_cast<const void *>(pList));
    for (int i = 0; i < pList->nItem; ++i) {
        char *const *const slot = pList->pszItem + i;
        printf("%p ,%p pszItem[%i]=%s\n", static_cast<void *>(*slot), static_cast<const void *>(slot), i,
               *slot);
    }
    printf("nSize =%i \t nItem =%i \t nFree =%i \t fMode =%i \t EndofFree=%p\n",
           static_cast<int>(pList->nSize), pList->nItem, pList->nFree, static_cast<int>(pList->fMode),
           static_cast<void *>(pList->EndofFree));
}
