#include "core/base/log.h"
#include "core/storage/md_array.h"

using namespace morv;

extern "C" int RAIDIoctlInfo(int fd, mdu_array_info_t *pArray) noexcept {
    if (!pArray) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    mdu_array_info_t answer = {};
    if (const int code = md_description(fd, answer)) {
        MORV_LOG(LOG_DEBUG, "Failed to ioctl for array info, errno=%m");
        return MORV_FAIL(code, -1);
    }
    *pArray = answer;
    return 0;
}
