#include "core/base/log.h"
#include "core/storage/md_array.h"

using namespace morv;

extern "C" int RAIDRebuildStatusGet(int fd, RAID_REBUILD *pRebuild) noexcept {
    if (!pRebuild) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    RAID_REBUILD answer = {};
    if (const int code = md_rebuild(fd, answer)) {
        MORV_LOG(LOG_DEBUG, "Failed to ioctl for sync status, errno=%m");
        return MORV_FAIL(code, -1);
    }
    *pRebuild = answer;
    return 0;
}
