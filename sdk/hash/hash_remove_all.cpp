#include "hash/hash_block.h"

extern "C" MLIBSZHASH *PslSzHashRemoveAll(MLIBSZHASH *hash) noexcept {
    if (!hash) return nullptr;
    for (int32_t i = 0; i < hash->nBucket; ++i)
        hash->bucket[i].pszKey = nullptr;
    hash->nPair = 0;
    hash->nFree = hash->nSize;
    hash->pNextFree = morv::string_area(hash);
    return hash;
}
