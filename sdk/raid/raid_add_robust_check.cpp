#include <morvsdk/disk.h>
#include <morvsdk/raid.h>

#include "core/base/guard.h"
#include "core/base/log.h"

using namespace morv;

// The two readers answer alike: 1, 0 for what is not there, -1.
static int code_of(int answer) {
    return answer > 0 ? 0 : answer == 0 ? ERR_PATH_NOT_FOUND : ERR_SYS_UNKNOWN;
}

extern "C" int RAIDAddRobustCheck(const char *path, const char *device) noexcept {
    if (!path || !device) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    RAID_INFO *info = nullptr;
    if (const int code = code_of(RAIDInfoGet(path, &info))) {
        MORV_LOG(LOG_ERR, "Failed to get information of %s, errno=%m", path);
        return MORV_FAIL(code, -1);
    }
    const uint64_t component = info->componentSize;
    RAIDInfoFree(info);
    uint64_t sectors;
    if (const int code = code_of(DiskSizeGet(device, &sectors))) {
        MORV_LOG(LOG_ERR, "Failed to get the size of %s, errno=%m", device);
        return MORV_FAIL(code, -1);
    }
    if (sectors < (component + 256) / 512) {
        MORV_LOG(LOG_ERR, "%s is too small for %s", device, path);
        return MORV_FAIL(ERR_NOT_ENOUGH_SPACE, -1);
    }
    if (RAIDAdd(path, device) != 0) {
        MORV_LOG(LOG_ERR, "Failed to add %s into %s, errno=%m", device, path);
        return MORV_FAIL(ERR_SYS_UNKNOWN, -1);
    }
    return 0;
}
