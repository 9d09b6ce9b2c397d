#include "hash/hash_block.h"

extern "C" int MLIBISetLookDict(const MLIBSZHASH *hash, const char *key) noexcept {
    if (!hash || !key) return -1;
    return morv::place_bucket(*hash, key);
}
