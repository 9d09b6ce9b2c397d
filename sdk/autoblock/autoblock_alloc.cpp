#include <morvsdk/autoblock.h>
#include <stdlib.h>

#include "core/base/fail.h"

extern "C" MORV_AUTOBLOCK_IP *MORVAutoBlockAlloc(int limit) noexcept {
    if (limit < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    void *const list = calloc(size_t(limit), sizeof(MORV_AUTOBLOCK_IP));
    return list ? static_cast<MORV_AUTOBLOCK_IP *>(list) : MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
}
