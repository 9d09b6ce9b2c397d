#include <morvsdk/disk.h>
#include <morvsdk/error.h>
#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/storage/device_name.h"

using namespace morv;

static int make_member(const char *disk) {
    RAID_SYSTEM system;
    if (RAIDSystemGet(&system) != 0) return -1;
    int repair;
    const int status = RAIDSystemDiskStatusGet(&system, disk, &repair);
    RAIDSystemFree(&system);
    if (status < 0) return -1;
    if (status == 0) {
        if (PartitionClean(disk, PARTITION_ALL) != 0) return -1;
        if (PartitionCreate(disk, PARTITION_SYSTEM) != 0) return -1;
        if (RAIDSystemAdd(disk) != 0) return -1;
    }
    return PartitionCreate(disk, PARTITION_DATA);
}

extern "C" int RAIDDiskInit(const char *disk, int mode) noexcept {
    // With the number of a partition behind it, a name that ends in a digit would be that of another disk.
    const bool is_disk = disk && without_partition(disk) == disk;
    if (!is_disk || (mode != RAID_INIT_MEMBER && mode != RAID_INIT_CLEAN))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int result = mode == RAID_INIT_CLEAN ? PartitionClean(disk, PARTITION_ALL) : make_member(disk);
    if (result != 0) MORV_LOG(LOG_ERR, "Failed to initiate %s, errno=0x%X", disk, unsigned(MLIBErrGet()));
    return result;
}
