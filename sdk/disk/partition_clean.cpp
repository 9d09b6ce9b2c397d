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
    if (kinds != PARTITION_ALL)
        return partitions.empty() ? 0 : remove_partitions(disk, partitions, Table::kNamed);
    // Of a disk that is used as a whole the kernel may know no partitions, whatever its first sectors say.
    if (const int code = check_unused(disk.device)) return code;
    std::vector<Entry> entries;
    if (const int code = read_entries(disk, entries)) return code;
    return remove_partitions(disk, partitions, entries.empty() ? Table::kNone : Table::kAll);
}

extern "C" int PartitionClean(const char *disk, int kinds) noexcept {
    if (!disk || kinds < PARTITION_SYSTEM || kinds > PARTITION_ALL)
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return clean(disk, kinds); });
    if (code) {
        MORV_LOG(LOG_ERR, "Failed to remove partitions of %s, errno=%m", disk);
        return MORV_FAIL(code, -1);
    }
    return 0;
}
