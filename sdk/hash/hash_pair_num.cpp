#include <morvsdk/hash.h>

#include "core/base/fail.h"

extern "C" int MLIBSzHashPairNum(const MLIBSZHASH *hash) noexcept {
    if (!hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return hash->nPair;
}
