#include <fcntl.h>
#include <morvsdk/error.h>
#include <morvsdk/raid.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/md_array.h"
#include "core/text/field_text.h"

using namespace morv;

using InfoPtr = std::unique_ptr<RAID_INFO, Releaser<RAIDInfoFree>>;

static int type_of(int level) {
    switch (level) {
        case 0:
            return RAID_TYPE_RAID0;
        case 1:
            return RAID_TYPE_RAID1;
        case 5:
            return RAID_TYPE_RAID5;
        case 6:
            return RAID_TYPE_RAID6;
        case -1:
            return RAID_TYPE_LINEAR;
        default:
            MORV_LOG(LOG_DEBUG, "Not supported RAID level: %d", level);
            return 0;
    }
}

// Counts for whole disks only: the name of a partition ends in a digit.
static int first_disk(const RAID_DISK *disks) {
    if (!disks) return -1;
    const std::string_view path = disks->szPath;
    const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const bool is_disk =
        path.size() == 9 && path.starts_with("/dev/sd") && is_letter(path[7]) && is_letter(path[8]);
    return is_disk ? path[7] - 'a' : -1;
}

// Fills the rest of the record of an array that runs.
static bool read_state(int fd, const mdu_array_info_t &array, RAID_INFO &info) {
    info.type = type_of(array.level);
    info.componentSize = md_component_size(array, info.number);
    info.raidDisks = array.raid_disks;
    if (RAIDIoctlSize(fd, &info.deviceSize) != 0) {
        MORV_LOG(LOG_DEBUG, "Failed to ioctl for raid size, errno=0X%X", unsigned(MLIBErrGet()));
        return false;
    }
    if (RAIDDiskListGet(info.szPath, &info.pDisks) != 0) {
        MORV_LOG(LOG_DEBUG, "Failed to get disk list for /dev/md%d, errno=0X%X", info.number,
                 unsigned(MLIBErrGet()));
        return false;
    }
    info.firstDisk = first_disk(info.pDisks);
    if (RAIDRebuildStatusGet(fd, &info.rebuild) != 0) {
        MORV_LOG(LOG_DEBUG, "Failed to get rebuild status for /dev/md%d, errno=0X%X", info.number,
                 unsigned(MLIBErrGet()));
        return false;
    }
    if (RAIDStatusDecide(&array, info.pDisks, &info.status) != 0) {
        MORV_LOG(LOG_DEBUG, "Failed to decide raid status for /dev/md%d, errno=0X%X", info.number,
                 unsigned(MLIBErrGet()));
        return false;
    }
    return true;
}

extern "C" int RAIDInfoGet(const char *path, RAID_INFO **ppInfo) noexcept {
    int32_t number;
    if (!path || !ppInfo) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    if (!array_number(path, number)) {
        MORV_LOG(LOG_DEBUG, "invalide path %s, errno=%m", path);
        return MORV_FAIL(ERR_INVALID_ARRAY, -1);
    }
    InfoPtr info(static_cast<RAID_INFO *>(calloc(1, sizeof(RAID_INFO))));
    if (!info) return MORV_LOG_FAIL(LOG_DEBUG, ERR_OUT_OF_MEMORY, -1, "Out of memory");
    if (!copy_text(info->szPath, path))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    info->number = number;

    const UniqueFd fd(open(SysPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd) {
        MORV_LOG(LOG_DEBUG, "Failed to open %s, errno=%m", path);
        return MORV_FAIL(ERR_OPEN_FAILED, -1);
    }
    mdu_array_info_t array = {};
    const int code = md_description(fd.get(), array);
    if (code == ERR_PATH_NOT_FOUND) return 0;
    if (code) {
        MORV_LOG(LOG_DEBUG, "Failed to ioctl for array info of %s, errno=%m", path);
        return MORV_FAIL(code, -1);
    }
    if (!read_state(fd.get(), array, *info)) return -1;
    *ppInfo = info.release();
    return 1;
}
