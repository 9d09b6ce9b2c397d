#include <morvsdk/share.h>

#include <iterator>

#include "core/account/record.h"
#include "core/base/fail.h"

extern "C" MORVSHARE *MORVShareAlloc(const MORVSHARE *spec) noexcept {
    if (!spec || !spec->szName || !spec->szPath) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    if (spec->accessType < 0 || spec->browseable < 0 || spec->ftpFlags < 0) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    }
    if (!BlMLIBIsShareName(spec->szName)) return MORV_FAIL(ERR_INVALID_SHARENAME, nullptr);
    if (*spec->szPath != '/') return MORV_FAIL(ERR_INVALID_PATH, nullptr);

    const char *const texts[] = {spec->szName,         spec->szComment,   spec->szPath,
                                 spec->szInvalidUsers, spec->szWriteList, spec->szReadList};
    char *copies[std::size(texts)];
    void *block = nullptr;
    int32_t size = 0;
    if (int code = morv::make_record(&block, &size, sizeof(MORVSHARE), texts, copies)) {
        return MORV_FAIL(code, nullptr);
    }
    auto *const share = static_cast<MORVSHARE *>(block);
    *share = *spec;
    share->szName = copies[0];
    share->szComment = copies[1];
    share->szPath = copies[2];
    share->szInvalidUsers = copies[3];
    share->szWriteList = copies[4];
    share->szReadList = copies[5];
    share->size = share->allocated = uint32_t(size);
    return share;
}
