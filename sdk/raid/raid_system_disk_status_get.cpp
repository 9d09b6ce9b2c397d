#include <morvsdk/raid.h>

#include <string>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/device_name.h"

using namespace morv;

static const RAID_DISK *find_member(const RAID_INFO &array, const std::string &path) {
    RAID_DISK *found = nullptr;
    RAIDDiskListSearch(array.pDisks, path.c_str(), &found);
    return found;
}

static bool is_healthy(const RAID_DISK *member) {
    return member && member->status != RAID_DISK_FAULTY && member->status != RAID_DISK_ERROR;
}

extern "C" int RAIDSystemDiskStatusGet(const RAID_SYSTEM *pSystem, const char *disk, int *pRepair) noexcept {
    if (!pSystem || !pSystem->pMd0 || !pSystem->pMd1 || !disk || !pRepair)
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const RAID_DISK *first = nullptr, *second = nullptr;
    const int code = no_throw([&] {
        const std::string whole(without_partition(disk));
        first = find_member(*pSystem->pMd0, whole + "1");
        second = find_member(*pSystem->pMd1, whole + "2");
        return 0;
    });
    if (code) return MORV_FAIL(code, -1);
    if (!first && !second) return 0;
    *pRepair = is_healthy(first) && is_healthy(second) ? 0 : 1;
    return 1;
}
