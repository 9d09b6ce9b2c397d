#include <morvsdk/list.h>

#include "list/list_block.h"

extern "C" MLIBSZLIST *MLIBSzListRemoveAll(MLIBSZLIST *pList) noexcept {
    if (!pList) return nullptr;
    pList->nItem = 0;
    pList->EndofFree = morv::list_end(pList);
    pList->nFree = static_cast<int32_t>(pList->nSize - morv::list_header);
    return pList;
}
