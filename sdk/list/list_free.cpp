#include <morvsdk/list.h>
#include <stdlib.h>

extern "C" void MLIBSzListFree(MLIBSZLIST *pList) noexcept {
    free(pList);
}
