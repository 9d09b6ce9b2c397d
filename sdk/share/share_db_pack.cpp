#include <limits.h>
#include <morvsdk/internal/share.h>
#include <stdlib.h>
#include <string.h>

#include "core/account/packed_share.h"
#include "core/base/bytes.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" void *MORVShareDBPack(const MORVSHARE *share, int *pSize) noexcept {
    // Without a name there might be no text at all, and no byte that an empty one could be.
    if (!share || !share->szName || !*share->szName || !pSize) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    if (share->accessType < 0 || share->browseable < 0 || share->ftpFlags < 0)
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    const char *const texts[packed_text_count] = {share->szName,      share->szComment,
                                                  share->szPath,      share->szInvalidUsers,
                                                  share->szWriteList, share->szReadList};
    size_t total = packed_header;
    for (const char *text : texts) {
        if (!text || !*text) continue;
        const size_t length = strlen(text);
        if (length >= INT_MAX - total) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);
        total += length + 1;
    }
    auto *const packed = static_cast<char *>(malloc(total));
    if (!packed) return MORV_FAIL(ERR_OUT_OF_MEMORY, nullptr);

    store_native32(packed, 0);
    size_t at = packed_header;
    for (size_t i = 0; i < packed_text_count; ++i) {
        const bool has_text = texts[i] && *texts[i];
        const size_t begin = has_text ? at : total - 1;
        store_native32(packed + packed_texts + 4 * i, uint32_t(begin - packed_lead));
        if (!has_text) continue;
        const size_t bytes = strlen(texts[i]) + 1;
        memcpy(packed + at, texts[i], bytes);
        at += bytes;
    }
    store_native32(packed + packed_access, uint32_t(share->accessType));
    store_native32(packed + packed_browseable, uint32_t(share->browseable));
    store_native32(packed + packed_ftp, uint32_t(share->ftpFlags));
    store_native32(packed + packed_total, uint32_t(total));
    store_native32(packed + packed_record, uint32_t(total - packed_lead));
    *pSize = int(total);
    return packed;
}
