#include "hash/hash_block.h"

extern "C" char *SzMLIBSzHashRemoveKey(MLIBSZHASH *hash, const char *key) noexcept {
    if (!hash || !key) return nullptr;
    const int index = morv::find_bucket(*hash, key);
    if (index < 0) return nullptr;
    hash->bucket[index].pszKey = nullptr;
    --hash->nPair;
    return hash->bucket[index].pszValue;
}
