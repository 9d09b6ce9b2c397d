#include <morvsdk/internal/log.h>

#include "core/base/fail.h"

extern "C" int MORVLogGet(int kind, int subKind, int mode, void *output) noexcept {
    if (kind != MORV_LOG_REPORT || subKind != MORV_LOG_CONNECTIONS) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return MORVLogICurCon(mode, output);
}
