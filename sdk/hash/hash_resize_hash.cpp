#include <stdlib.h>

#include "core/base/fail.h"
#include "hash/hash_block.h"

namespace {

bool would_hold(const MLIBSZHASH &hash, int buckets, int size) {
    if (buckets < 1 || buckets < hash.nPair || size < 0) return false;
    size_t used = 0;
    for (int32_t i = 0; i < hash.nBucket; ++i) {
        const MLIBSZHASHBUCKET &bucket = hash.bucket[i];
        if (bucket.pszKey) used += strlen(bucket.pszKey) + strlen(bucket.pszValue) + 2;
    }
    return used <= size_t(size);
}

}  // namespace

extern "C" MLIBSZHASH *PshMLIBIReSizeHash(MLIBSZHASH *hash, int buckets, int size) noexcept {
    if (!hash || !would_hold(*hash, buckets, size)) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    MLIBSZHASH *const fresh = morv::rebuilt(*hash, buckets, size);
    if (!fresh) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
    free(hash);
    return fresh;
}
