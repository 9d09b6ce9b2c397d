#include "core/base/fail.h"
#include "hash/hash_block.h"

extern "C" MLIBSZHASH *PshMLIBIHashAllocator(int buckets, int size) noexcept {
    if (buckets < 1 || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    MLIBSZHASH *const hash = morv::new_block(buckets, size);
    if (!hash) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    return hash;
}
