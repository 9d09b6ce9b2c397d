#include <morvsdk/bdb.h>
#include <stdlib.h>

#include "core/base/fail.h"

extern "C" int MORVCheckAndRealloc(void **ppBuffer, int *pSize, int needed) noexcept {
    if (!ppBuffer || !pSize || *pSize < 0 || needed < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (*ppBuffer && *pSize >= needed) return 0;
    void *const grown = realloc(*ppBuffer, needed > 0 ? static_cast<size_t>(needed) : 1);
    if (!grown) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    *ppBuffer = grown;
    *pSize = needed;
    return 0;
}
