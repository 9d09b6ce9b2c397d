#include "hash/hash_block.h"

extern "C" int MLIBIRadixHashCode(const char *key, int buckets) noexcept {
    if (!key || buckets < 1) return -1;
    return morv::home_bucket(key, buckets);
}
