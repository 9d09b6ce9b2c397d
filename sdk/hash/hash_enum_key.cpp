#include <morvsdk/hash.h>
#include <morvsdk/list.h>

extern "C" int MLIBSzHashEnumKey(const MLIBSZHASH *hash, MLIBSZLIST **ppList) noexcept {
    if (!hash) return -1;
    if (hash->nPair == 0) return 0;
    int count = 0;
    for (int32_t i = 0; i < hash->nBucket; ++i) {
        const char *const key = hash->bucket[i].pszKey;
        if (!key) continue;
        if (ppList && MLIBSzListPush(ppList, key) < 0) return -1;
        ++count;
    }
    return count;
}
