#include <morvsdk/share.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "share/folders.h"

using namespace morv;

extern "C" int ShareDirCopy(const char *from, const char *to) noexcept {
    if (!from || !to) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (*from != '/' || *to != '/') return MORV_FAIL(ERR_INVALID_PATH, -1);
    const int code = copy_share_folder(from, to);
    if (code == 0) return 0;
    if (code == ERR_NOT_ENOUGH_SPACE)
        MORV_LOG(LOG_ERR, "MorvErr is not enough space with [0x%04X]", unsigned(code));
    return MORV_FAIL(code, -1);
}
