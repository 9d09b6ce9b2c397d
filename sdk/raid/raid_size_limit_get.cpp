#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "raid/size_limit.h"

using namespace morv;

extern "C" int RAIDSizeLimitGet(uint32_t *pKiB) noexcept {
    if (!pKiB) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, 0, "Bad parameters");
    uint32_t kib = 0;
    const int code = no_throw([&] { return read_size_limit(kib); });
    if (code) {
        MORV_LOG(LOG_DEBUG, "Failed to look for /tmp/volume.*, errno=%m");
        MLIBErrSetEx(code, MORV_STEM, __LINE__);
    }
    *pKiB = kib;
    return kib ? 1 : 0;
}
