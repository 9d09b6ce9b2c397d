#include "core/base/fail.h"
#include "hash/hash_block.h"

extern "C" MLIBSZHASH *PshMLIBIUpdateValue(MLIBSZHASH *hash, const char *key, const char *value,
                                           int *index) noexcept {
    if (!hash || !key || !value || !index) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    if (*index < 0 || *index >= hash->nBucket || !morv::holds(hash->bucket[*index], key)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    }
    MLIBSZHASH *const stored = morv::update_value(hash, key, value, *index);
    if (!stored) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    return stored;
}
