#include <morvsdk/internal/share.h>

#include "core/account/packed_share.h"
#include "core/account/record.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVShareDBUnpack(const void *packed, int size, MORVSHARE **ppShare) noexcept {
    if (!packed || size < 0 || !ppShare) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    PackedShare found;
    if (!found.read({static_cast<const char *>(packed), size_t(size)}))
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);

    char *copies[packed_text_count];
    void *block = *ppShare;
    int32_t allocated = block ? int32_t((*ppShare)->allocated) : 0;
    if (int code = make_record(&block, &allocated, sizeof(MORVSHARE), found.texts, copies)) {
        return MORV_FAIL(code, -1);
    }
    auto *const share = static_cast<MORVSHARE *>(block);
    share->szName = copies[0];
    share->szComment = copies[1];
    share->szPath = copies[2];
    share->szInvalidUsers = copies[3];
    share->szWriteList = copies[4];
    share->szReadList = copies[5];
    share->accessType = found.access;
    share->browseable = found.browseable;
    share->ftpFlags = found.ftp;
    share->size = uint32_t(sizeof(MORVSHARE) + size_t(size) - packed_header);
    share->allocated = uint32_t(allocated);
    *ppShare = share;
    return 0;
}
