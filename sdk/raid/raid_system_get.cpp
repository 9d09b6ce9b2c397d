#include <morvsdk/error.h>
#include <morvsdk/raid.h>

#include "core/base/log.h"

// A system without one of the two is out of order.
static bool read_array(const char *path, RAID_INFO **info) {
    const int answer = RAIDInfoGet(path, info);
    if (answer == 0) MLIBErrSetEx(ERR_PATH_NOT_FOUND, MORV_STEM, __LINE__);
    if (answer != 1) {
        MORV_LOG(LOG_DEBUG, "Failed to get information of %s, errno=0x%X.", path, unsigned(MLIBErrGet()));
    }
    return answer == 1;
}

extern "C" int RAIDSystemGet(RAID_SYSTEM *pSystem) noexcept {
    if (!pSystem) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    RAID_SYSTEM system = {nullptr, nullptr};
    if (!read_array("/dev/md0", &system.pMd0) || !read_array("/dev/md1", &system.pMd1)) {
        RAIDSystemFree(&system);
        return -1;
    }
    *pSystem = system;
    return 0;
}
