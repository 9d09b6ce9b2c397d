#include <morvsdk/disk.h>
#include <morvsdk/raid.h>

#include <string_view>

#include "core/base/log.h"

extern "C" int MORVRAIDMdTuningPerformance(const char *path) noexcept {
    if (!path || !std::string_view(path).starts_with("/dev/md"))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    RAID_INFO *info = nullptr;
    const int answer = RAIDInfoGet(path, &info);
    if (answer < 0) return -1;
    if (answer == 0) return MORV_LOG_FAIL(LOG_ERR, ERR_PATH_NOT_FOUND, -1, "%s does not run", path);
    const int type = info->type;
    RAIDInfoFree(info);
    if (type == RAID_TYPE_RAID1) return MORVSysBlkDevReadAheadSet(path, 1024);
    if (type == RAID_TYPE_RAID5) return MORVRAIDMdStripeCacheSizeSet(path, 1024);
    return 0;
}
