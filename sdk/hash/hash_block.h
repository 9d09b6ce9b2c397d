// The block of a string hash: placement, search and growth. Nothing here sets the error state.
#pragma once

#include <morvsdk/internal/hash.h>
#include <string.h>

#include <string_view>

#include "core/base/bytes.h"

namespace morv {

// All views of keys and values here have a terminator behind their end, which is stored with them.

// The radix hash. Its reading of the key is big-endian on every machine: it decides the order in which pairs
// are enumerated and written to files.
inline int home_bucket(std::string_view key, int32_t buckets) noexcept {
    const char *at = key.data();
    size_t left = key.size();
    uint32_t sum = 0;
    for (; left >= 4; at += 4, left -= 4)
        sum += load_be32(at);
    uint32_t last = 0;
    for (size_t i = 0; i < left; ++i)
        last |= uint32_t{static_cast<unsigned char>(at[i])} << (24 - 8 * i);
    return int((sum + last) % uint32_t(buckets));
}

inline int next_bucket(const MLIBSZHASH &hash, int index) noexcept {
    return ++index == hash.nBucket ? 0 : index;
}

inline bool never_used(const MLIBSZHASHBUCKET &bucket) noexcept {
    return !bucket.pszKey && !bucket.pszValue;
}

inline bool holds(const MLIBSZHASHBUCKET &bucket, std::string_view key) noexcept {
    return bucket.pszKey && strcmp(bucket.pszKey, key.data()) == 0;
}

// The bucket that holds `key`, or -1.
inline int find_bucket(const MLIBSZHASH &hash, std::string_view key) noexcept {
    const int home = home_bucket(key, hash.nBucket);
    int index = home;
    do {
        if (holds(hash.bucket[index], key)) return index;
        if (never_used(hash.bucket[index])) return -1;
        index = next_bucket(hash, index);
    } while (index != home);
    return -1;
}

// The bucket to store `key` in, or -1. A removed pair leaves a bucket that is used again, but not as a home.
inline int place_bucket(const MLIBSZHASH &hash, std::string_view key) noexcept {
    const int home = home_bucket(key, hash.nBucket);
    if (never_used(hash.bucket[home]) || holds(hash.bucket[home], key)) return home;
    int spare = -1;
    for (int index = next_bucket(hash, home); index != home; index = next_bucket(hash, index)) {
        if (holds(hash.bucket[index], key)) return index;
        if (hash.bucket[index].pszKey) continue;
        if (spare < 0) spare = index;
        if (never_used(hash.bucket[index])) break;
    }
    return spare;
}

inline char *string_area(MLIBSZHASH *hash) noexcept {
    return reinterpret_cast<char *>(hash->bucket + hash->nBucket);
}

// An empty block, or null: no memory, or sizes that no block can have.
MLIBSZHASH *new_block(int64_t buckets, int64_t size) noexcept;

// A new block with the live pairs of `hash`, which must fit, or null. `hash` stays as it is.
MLIBSZHASH *rebuilt(const MLIBSZHASH &hash, int64_t buckets, int64_t size) noexcept;

// `hash` itself when it has room for `needed` more bytes and a further pair, else a rebuilt one, or null.
// `hash` stays as it is: free it when another one is returned, but not before the strings to store have been
// copied, for they may lie in it.
MLIBSZHASH *with_room(MLIBSZHASH *hash, int64_t needed) noexcept;

// Stores a pair in bucket `index`, which has no key. There must be room for it.
void put_pair(MLIBSZHASH &hash, std::string_view key, std::string_view value, int index) noexcept;

// Gives the live bucket `index` another value. There must be room for it if it is longer than the old one.
void put_value(MLIBSZHASH &hash, std::string_view value, int index) noexcept;

inline bool is_longer(std::string_view value, const MLIBSZHASHBUCKET &than) noexcept {
    // A live bucket has a value.  NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker)
    return value.size() > strlen(than.pszValue);
}

// Store a new pair, or another value, in bucket `index`, growing the hash where needed: the answer is the
// hash or its replacement (the old one is freed), `index` the bucket in it. Null: no memory, nothing has
// changed.
MLIBSZHASH *insert_pair(MLIBSZHASH *hash, std::string_view key, std::string_view value, int &index) noexcept;
MLIBSZHASH *update_value(MLIBSZHASH *hash, std::string_view key, std::string_view value, int &index) noexcept;

}  // namespace morv
