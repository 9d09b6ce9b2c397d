#include "hash/hash_block.h"

extern "C" int MLIBIGetLookDict(const MLIBSZHASH *hash, const char *key) noexcept {
    if (!hash || !key) return -1;
    return morv::find_bucket(*hash, key);
}
