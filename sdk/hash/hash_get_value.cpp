#include "hash/hash_block.h"

extern "C" const char *SzMLIBSzHashGetValue(const MLIBSZHASH *hash, const char *key) noexcept {
    if (!hash || !key) return nullptr;
    const int index = morv::find_bucket(*hash, key);
    return index < 0 ? nullptr : hash->bucket[index].pszValue;
}
