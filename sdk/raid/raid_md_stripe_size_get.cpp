#include <morvsdk/raid.h>
#include <stdio.h>

#include <memory>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/storage/device_name.h"
#include "core/system/sysfs.h"
#include "core/text/fields.h"

using namespace morv;

static int stripe_size(const char *path, int data_disks, int &kib) {
    char file[256], room[32];
    std::string_view line;
    if (snprintf(file, sizeof file, "/sys/block/%s/md/chunk_size", last_name(path).data()) >=
        int(sizeof file))
        return ERR_BAD_PARAMETERS;
    if (const int code = read_attribute(file, room, line)) return code;
    const int64_t width = leading_number(line) * data_disks / 1024;
    if (width < 0 || width > INT32_MAX) return ERR_FORMAT_ERROR;
    kib = int(width);
    return 0;
}

extern "C" int RAIDMdStripeSizeGet(const char *path) noexcept {
    RAID_INFO *found = nullptr;
    const int answer = RAIDInfoGet(path, &found);
    if (answer < 0) return -1;
    if (answer == 0) return MORV_LOG_FAIL(LOG_DEBUG, ERR_PATH_NOT_FOUND, -1, "%s does not run", path);
    const std::unique_ptr<RAID_INFO, Releaser<RAIDInfoFree>> info(found);
    int data_disks = info->raidDisks;
    switch (info->type) {
        case RAID_TYPE_RAID1:
        case RAID_TYPE_LINEAR:
            return 0;
        case RAID_TYPE_RAID0:
            break;
        case RAID_TYPE_RAID5:
            data_disks -= 1;
            break;
        case RAID_TYPE_RAID6:
            data_disks -= 2;
            break;
        default:
            MORV_LOG(LOG_DEBUG, "unknown raid type [%d]", info->type);
            return MORV_FAIL(ERR_UNKNOWN, -1);
    }
    int kib;
    if (const int code = stripe_size(path, data_disks, kib)) {
        MORV_LOG(LOG_DEBUG, "Failed to read the chunk size of %s, errno=%m", path);
        return MORV_FAIL(code, -1);
    }
    return kib;
}
