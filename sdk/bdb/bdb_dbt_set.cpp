#include <morvsdk/internal/bdb.h>

#include "core/base/fail.h"

extern "C" int DBTSet(DBT *item, const void *data, int length) noexcept {
    if (!item || !data || length < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    item->data = const_cast<void *>(data);
    item->size = static_cast<size_t>(length);
    return 0;
}
