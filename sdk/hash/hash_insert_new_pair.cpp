#include "core/base/fail.h"
#include "hash/hash_block.h"

extern "C" MLIBSZHASH *PshMLIBIInsertNewPair(MLIBSZHASH *hash, const char *key, const char *value,
                                             int *index) noexcept {
    if (!hash || !key || !value || !index) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    if (*index < 0 || *index >= hash->nBucket || hash->bucket[*index].pszKey) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    }
    MLIBSZHASH *const stored = morv::insert_pair(hash, key, value, *index);
    if (!stored) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    return stored;
}
