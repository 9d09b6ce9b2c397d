/* The string hash: a map from string to string in one memory block; a section of a configuration file in
 * memory.
 *
 *     MLIBSZHASH *hash = PshMLIBSzHashAlloc(1024);
 *     if (!hash || MLIBSzHashSetValue(&hash, "hostname", "attic") < 0) ...
 *     const char *name = SzMLIBSzHashGetValue(hash, "hostname");    // null: no such key
 *     MLIBSzHashFree(hash);
 *
 * Keys and values are copied in. Keys compare byte by byte, case matters. The hash belongs to the caller, who
 * frees it with MLIBSzHashFree. MLIBSzHashSetValue may move the hash to a larger block and then changes the
 * caller's handle; a pointer to a value is good until such a move or the end of the hash.
 *
 * To walk over the pairs in place, look at the buckets: those with a key are live.
 *
 *     for (int32_t i = 0; i < hash->nBucket; ++i)
 *         if (hash->bucket[i].pszKey) use(hash->bucket[i].pszKey, hash->bucket[i].pszValue);
 *
 * Their order depends on the keys alone and on what was stored before, never on the machine. Changing the
 * fields is for the functions below. */
#ifndef MORVSDK_HASH_H
#define MORVSDK_HASH_H

#include <morvsdk/errcodes.h>
#include <morvsdk/export.h>
#include <stdint.h>

MORV_BEGIN_DECLS

typedef struct MLIBSZLIST MLIBSZLIST; /* <morvsdk/list.h> */

/* Never used: both null. Live: pszKey set. Removed: pszKey null, pszValue set; a search walks past it. */
typedef struct MLIBSZHASHBUCKET {
    char *pszKey;
    char *pszValue;
} MLIBSZHASHBUCKET;

/* The header, the buckets, and behind them the string area. */
typedef struct MLIBSZHASH {
    int32_t nSize;   /* bytes of the string area */
    int32_t nFree;   /* bytes of the string area that are not used yet */
    int32_t nBucket; /* number of buckets */
    int32_t nPair;   /* number of live pairs */
    char *pNextFree; /* the first unused byte of the string area */
    __extension__ MLIBSZHASHBUCKET bucket[];
} MLIBSZHASH;

/* Makes an empty hash of 31 buckets.
 *
 * size: bytes for keys and values with their terminators, at least 512 whatever is asked for. The hash grows
 *       by itself; a good estimate only saves moves.
 *
 * Returns the hash, or null with ERR_OUT_OF_MEMORY. */
MORV_API MLIBSZHASH *PshMLIBSzHashAlloc(int size) MORV_NOEXCEPT;

/* Frees the hash; null is ignored. */
MORV_API void MLIBSzHashFree(MLIBSZHASH *hash) MORV_NOEXCEPT;

/* Stores value under key, replacing the value that the key has.
 *
 * ppHash: address of the caller's handle, changed when the hash moves. key and value may point into the hash
 *         itself, for example at a value it holds.
 *
 * Returns the index of the pair's bucket (0 or more), or -1
 *   without a code            ppHash, *ppHash, key or value is null, or no bucket can take the key
 *   with ERR_OUT_OF_MEMORY    no memory, or the strings would pass 2 GiB
 * On failure the hash and the handle are as they were. */
MORV_API int MLIBSzHashSetValue(MLIBSZHASH **ppHash, const char *key, const char *value) MORV_NOEXCEPT;

/* The value of key; null, without a code, when there is none or an argument is null. It points into the
 * hash: not to be freed. */
MORV_API const char *SzMLIBSzHashGetValue(const MLIBSZHASH *hash, const char *key) MORV_NOEXCEPT;

/* Removes key, and returns the value that it had; null, without a code, when there is none or an argument is
 * null. The value stays readable until the hash moves, is emptied or freed. Its room is reclaimed when the
 * hash moves. */
MORV_API char *SzMLIBSzHashRemoveKey(MLIBSZHASH *hash, const char *key) MORV_NOEXCEPT;

/* Empties the hash; the block keeps its size. Returns hash; null is returned as it is. */
MORV_API MLIBSZHASH *PslSzHashRemoveAll(MLIBSZHASH *hash) MORV_NOEXCEPT;

/* Pushes every key onto a list, in bucket order.
 *
 * ppList: address of the caller's list handle, changed when the list moves; null to only count.
 *
 * Returns the number of keys, or -1: hash is null (no code is set), or MLIBSzListPush failed (with its code;
 * the keys before are on the list). */
MORV_API int MLIBSzHashEnumKey(const MLIBSZHASH *hash, MLIBSZLIST **ppList) MORV_NOEXCEPT;

/* The number of pairs, or -1 with ERR_BAD_PARAMETERS when hash is null. */
MORV_API int MLIBSzHashPairNum(const MLIBSZHASH *hash) MORV_NOEXCEPT;

/* The number of pairs, or -1 when hash is null; sets no code. */
MORV_API int MLIBSzHashGetLength(const MLIBSZHASH *hash) MORV_NOEXCEPT;

MORV_END_DECLS

#endif
