#include <morvsdk/disk.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/disk_layout.h"
#include "core/storage/partition_table.h"

using namespace morv;

static bool is_wanted(const Partition &partition, int kinds) {
    if (kinds == PARTITION_ALL) return true;
    return (partition.number == kDataPartition ? PARTITION_DATA : PARTITION_SYSTEM) == kinds &&
           partition.number <= kDataPartition;
}

static int clean(const char *device, int kinds) {
    Disk disk;
    if (const int code = read_disk(device, disk)) return code;
    if (disk.device != device || disk.is_made_of_others) return ERR_BAD_PARAMETERS;
    std::vector<Partition> partitions;
    for (const Partition &partition : disk.partitions) {
        if (is_wanted(partition, kinds)) partitions.push_back(partition);
    }
    size_t entries = partitions.size();
    if (kinds == PARTITION_ALL) {
        if (const int code = count_entries(disk, entries)) return code;
    }
    if (partitions.empty() && entries == 0) return 0;
    return remove_partitions(disk, partitions, kinds == PARTITION_ALL);
}

extern "C" int PartitionClean(const char *disk, int kinds) noexcept {
    if (!disk || kinds < PARTITION_SYSTEM || kinds > PARTITION_ALL) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] { return clean(disk, kinds); });
    if (code) {
        MORV_LOG(LOG_ERR, "Failed to remove partitions of %s, errno=%m", disk);
        return MORV_FAIL(code, -1);
    }
    return 0;
}
