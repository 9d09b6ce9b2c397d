#include "hash/hash_block.h"

#include <limits.h>
#include <stdlib.h>

namespace morv {

namespace {

bool is_possible(int64_t buckets, int64_t size) noexcept {
    if (buckets < 1 || buckets > INT32_MAX || size < 0 || size > INT32_MAX) return false;
    return sizeof(MLIBSZHASH) + uint64_t(buckets) * sizeof(MLIBSZHASHBUCKET) + uint64_t(size) <= PTRDIFF_MAX;
}

// The buckets that a hash is to have before a further pair is stored.
int64_t wanted_buckets(const MLIBSZHASH &hash) noexcept {
    const float free_share = float(hash.nBucket - hash.nPair) / float(hash.nBucket);
    if (!(free_share < 0.25F)) return hash.nBucket;
    const int64_t more = 4 * int64_t{hash.nBucket} - 5;
    return more > hash.nBucket ? more : int64_t{hash.nBucket} + 1;  // a table of one bucket
}

// The string area that a hash is to have when `needed` bytes do not fit: what its free buckets will want if
// their pairs are like those before, or what is needed when that is beyond any block.
int64_t wanted_size(const MLIBSZHASH &hash, int64_t buckets, int64_t needed) noexcept {
    const int64_t least = hash.nSize + needed;
    const int64_t per_bucket = hash.nPair == 0 ? needed : hash.nSize / hash.nPair;
    int64_t more;
    if (__builtin_mul_overflow(int64_t{hash.nBucket - hash.nPair}, per_bucket, &more)) return least;
    if (__builtin_add_overflow(more, least, &more)) return least;
    return is_possible(buckets, more) ? more : least;
}

// Whether a text lies where the hash stores next: it was removed with everything else.
bool is_in_free_area(const MLIBSZHASH &hash, std::string_view text) noexcept {
    const auto begin = reinterpret_cast<uintptr_t>(hash.pNextFree);
    const auto at = reinterpret_cast<uintptr_t>(text.data());
    return at >= begin && at - begin < uintptr_t(hash.nFree);
}

// As with_room, for strings that may lie in the hash itself.
MLIBSZHASH *with_room_for(MLIBSZHASH *hash, int64_t needed, std::string_view key,
                          std::string_view value) noexcept {
    MLIBSZHASH *room = with_room(hash, needed);
    if (room == hash && (is_in_free_area(*hash, key) || is_in_free_area(*hash, value))) {
        room = rebuilt(*hash, hash->nBucket, hash->nSize);
    }
    return room;
}

}  // namespace

MLIBSZHASH *new_block(int64_t buckets, int64_t size) noexcept {
    if (!is_possible(buckets, size)) return nullptr;
    const size_t bytes = sizeof(MLIBSZHASH) + size_t(buckets) * sizeof(MLIBSZHASHBUCKET) + size_t(size);
    auto *hash = static_cast<MLIBSZHASH *>(calloc(1, bytes));
    if (!hash) return nullptr;
    hash->nSize = hash->nFree = int32_t(size);
    hash->nBucket = int32_t(buckets);
    hash->pNextFree = string_area(hash);
    return hash;
}

MLIBSZHASH *rebuilt(const MLIBSZHASH &hash, int64_t buckets, int64_t size) noexcept {
    MLIBSZHASH *const fresh = new_block(buckets, size);
    if (!fresh) return nullptr;
    for (int32_t i = 0; i < hash.nBucket; ++i) {
        if (!hash.bucket[i].pszKey) continue;
        const std::string_view key = hash.bucket[i].pszKey;
        // No key comes twice and none was removed: its place is the first free bucket.
        int index = home_bucket(key, fresh->nBucket);
        while (fresh->bucket[index].pszKey)
            index = next_bucket(*fresh, index);
        put_pair(*fresh, key, hash.bucket[i].pszValue, index);
    }
    return fresh;
}

MLIBSZHASH *with_room(MLIBSZHASH *hash, int64_t needed) noexcept {
    int64_t buckets = wanted_buckets(*hash);
    // A table that can have no more buckets is still good for those it has left.
    if (!is_possible(buckets, hash->nSize)) buckets = hash->nBucket;
    if (hash->nFree > needed) {
        return buckets == hash->nBucket ? hash : rebuilt(*hash, buckets, hash->nSize);
    }
    return rebuilt(*hash, buckets, wanted_size(*hash, buckets, needed));
}

void put_pair(MLIBSZHASH &hash, std::string_view key, std::string_view value, int index) noexcept {
    MLIBSZHASHBUCKET &bucket = hash.bucket[index];
    bucket.pszKey = hash.pNextFree;
    bucket.pszValue = bucket.pszKey + key.size() + 1;
    memcpy(bucket.pszKey, key.data(), key.size() + 1);
    memcpy(bucket.pszValue, value.data(), value.size() + 1);
    hash.pNextFree = bucket.pszValue + value.size() + 1;
    hash.nFree -= int32_t(key.size() + value.size() + 2);
    ++hash.nPair;
}

void put_value(MLIBSZHASH &hash, std::string_view value, int index) noexcept {
    MLIBSZHASHBUCKET &bucket = hash.bucket[index];
    if (is_longer(value, bucket)) {
        bucket.pszValue = hash.pNextFree;
        hash.pNextFree += value.size() + 1;
        hash.nFree -= int32_t(value.size() + 1);
    }
    memmove(bucket.pszValue, value.data(), value.size() + 1);  // it may be a part of the old one
}

MLIBSZHASH *insert_pair(MLIBSZHASH *hash, std::string_view key, std::string_view value, int &index) noexcept {
    MLIBSZHASH *const room = with_room_for(hash, int64_t(key.size() + value.size() + 2), key, value);
    if (!room) return nullptr;
    if (room != hash) index = place_bucket(*room, key);
    put_pair(*room, key, value, index);
    if (room != hash) free(hash);
    return room;
}

MLIBSZHASH *update_value(MLIBSZHASH *hash, std::string_view key, std::string_view value,
                         int &index) noexcept {
    MLIBSZHASH *room = hash;
    if (is_longer(value, hash->bucket[index])) {
        room = with_room_for(hash, int64_t(value.size() + 1), key, value);
        if (!room) return nullptr;
        if (room != hash) index = place_bucket(*room, key);
    }
    put_value(*room, value, index);
    if (room != hash) free(hash);
    return room;
}

}  // namespace morv
