#include <morvsdk/internal/share.h>
#include <string.h>

#include <initializer_list>

#include "core/account/record.h"
#include "core/base/bytes.h"
#include "core/base/fail.h"
#include "share/packed_share.h"

using namespace morv;

// Finds the texts of a packed value. Only the one form that packing makes is taken: sizes that agree, a
// name, texts one behind the other up to the last byte. Answers whether the value has it.
static bool find_texts(const char *packed, size_t size, const char *(&texts)[packed_text_count]) noexcept {
    const auto field = [&](size_t at) { return load_native32(packed + at); };
    if (size <= packed_header || field(0) != 0) return false;
    if (field(packed_total) != size || field(packed_record) != size - packed_lead) return false;
    for (const size_t number : {packed_access, packed_browseable, packed_ftp}) {
        if (field(number) > INT32_MAX) return false;
    }
    size_t next = packed_header;
    for (size_t i = 0; i < packed_text_count; ++i) {
        const size_t at = size_t{field(packed_texts + 4 * i)} + packed_lead;
        texts[i] = packed + size - 1;
        if (at == size - 1 && i > 0) continue;
        if (at != next || at >= size - 1) return false;
        const size_t length = strnlen(packed + at, size - at);
        if (length == 0 || length == size - at) return false;
        texts[i] = packed + at;
        next = at + length + 1;
    }
    return next == size;
}

extern "C" int MORVShareDBUnpack(const void *packed, int size, MORVSHARE **ppShare) noexcept {
    if (!packed || size < 0 || !ppShare) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const auto *const bytes = static_cast<const char *>(packed);
    const char *texts[packed_text_count];
    if (!find_texts(bytes, size_t(size), texts)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);

    char *copies[packed_text_count];
    void *block = *ppShare;
    int32_t allocated = block ? int32_t((*ppShare)->allocated) : 0;
    if (int code = make_record(&block, &allocated, sizeof(MORVSHARE), texts, copies)) {
        return MORV_FAIL(code, -1);
    }
    auto *const share = static_cast<MORVSHARE *>(block);
    share->szName = copies[0];
    share->szComment = copies[1];
    share->szPath = copies[2];
    share->szInvalidUsers = copies[3];
    share->szWriteList = copies[4];
    share->szReadList = copies[5];
    share->accessType = int32_t(load_native32(bytes + packed_access));
    share->browseable = int32_t(load_native32(bytes + packed_browseable));
    share->ftpFlags = int32_t(load_native32(bytes + packed_ftp));
    share->size = uint32_t(sizeof(MORVSHARE) + size_t(size) - packed_header);
    share->allocated = uint32_t(allocated);
    *ppShare = share;
    return 0;
}
