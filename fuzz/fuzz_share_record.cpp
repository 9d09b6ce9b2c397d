// A packed share record of a store that others can write: it is refused, or packs to the same bytes again.
#include <morvsdk/internal/share.h>
#include <string.h>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 1 << 20) return 0;
    MORVSHARE *share = nullptr;
    if (MORVShareDBUnpack(data, int(size), &share) != 0) return 0;

    int packed_size = 0;
    void *const packed = MORVShareDBPack(share, &packed_size);
    expect(packed != nullptr && size_t(packed_size) == size && memcmp(packed, data, size) == 0);

    // Into the same record, whose block is large enough.
    const MORVSHARE *const first = share;
    expect(MORVShareDBUnpack(packed, packed_size, &share) == 0 && share == first);
    size_t bytes = sizeof(MORVSHARE);
    for (const char *text : {share->szName, share->szComment, share->szPath, share->szInvalidUsers,
                             share->szWriteList, share->szReadList}) {
        if (*text) bytes += strlen(text) + 1;
    }
    expect(share->size == bytes && share->allocated >= bytes);
    free(packed);
    MORVShareFree(share);
    return 0;
}
