#include <limits.h>
#include <morvsdk/internal/bdb.h>
#include <string.h>

#include "core/base/fail.h"

extern "C" int DBTCopyOut(const DBT *item, void **ppBuffer, int *pSize) noexcept {
    if (!item || (!item->data && item->size > 0) || !ppBuffer || !pSize)
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (item->size > INT_MAX) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    const int length = static_cast<int>(item->size);
    if (MORVCheckAndRealloc(ppBuffer, pSize, length) != 0) return -1;
    if (length > 0) memcpy(*ppBuffer, item->data, item->size);
    *pSize = length;
    return 0;
}
