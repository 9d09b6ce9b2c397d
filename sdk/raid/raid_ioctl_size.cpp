#include "core/base/log.h"
#include "core/storage/md_array.h"

using namespace morv;

extern "C" int RAIDIoctlSize(int fd, uint64_t *pBytes) noexcept {
    if (!pBytes) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    uint64_t answer = {};
    if (const int code = md_size(fd, answer)) {
        MORV_LOG(LOG_DEBUG, "Failed to ioctl for size, errno=%m");
        return MORV_FAIL(code, -1);
    }
    *pBytes = answer;
    return 0;
}
