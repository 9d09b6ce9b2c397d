#include <morvsdk/disk.h>

#include <algorithm>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/disk_layout.h"
#include "core/storage/partition_table.h"

using namespace morv;

// What a GUID partition table needs behind the last partition.
constexpr uint64_t kSectorsOfGptCopy = 34;

static uint64_t end_of(const Disk &disk, bool is_gpt) {
    const uint64_t kept = is_gpt ? kSectorsOfGptCopy * (disk.sector_size / 512) : 0;
    return disk.size < kept ? 0 : disk.size - kept;
}

static int create_system(const Disk &disk) {
    const DiskLayout layout = system_layout();
    if (end_of(disk, true) <= layout.start[kDataPartition - 1]) return ERR_DISK_TOO_SMALL;
    if (disk.partitions.empty()) {
        if (const int code = check_unused(disk.device)) return code;
        if (const int code = write_empty_table(disk)) return code;
    }
    for (const int number : {kFirstSystemPartition, kSecondSystemPartition}) {
        if (disk.find(number)) continue;
        const Partition partition = {"", number, layout.start[number - 1], layout.size[number - 1]};
        if (const int code = add_partition(disk, partition)) return code;
    }
    return 0;
}

static int create_data(const Disk &disk) {
    if (disk.find(kDataPartition)) return 0;
    uint64_t start = system_layout().start[kDataPartition - 1];
    for (const Partition &partition : disk.partitions)
        start = std::max(start, partition.start + partition.size);
    if (!disk.find(kFirstSystemPartition) || !disk.find(kSecondSystemPartition)) return ERR_PATH_NOT_FOUND;
    const uint64_t end = end_of(disk, has_gpt(disk) || disk.size > kMostOfDos);
    if (end <= start) return ERR_DISK_TOO_SMALL;
    return add_partition(disk, {"", kDataPartition, start, end - start});
}

static int create(const char *device, int kind) {
    Disk disk;
    if (const int code = read_disk(device, disk)) return code;
    if (disk.device != device || disk.is_made_of_others) return ERR_BAD_PARAMETERS;
    // A table with partitions that the kernel does not know is not to be written over.
    std::vector<Entry> entries;
    if (const int code = read_entries(disk, entries)) return code;
    const bool is_known = std::all_of(entries.begin(), entries.end(), [&](const Entry &entry) {
        const Partition *const partition = disk.find(entry.number);
        return partition && partition->start == entry.start;
    });
    if (!is_known || entries.size() != disk.partitions.size()) return ERR_DEVICE_BUSY;
    return kind == PARTITION_SYSTEM ? create_system(disk) : create_data(disk);
}

extern "C" int PartitionCreate(const char *disk, int kind) noexcept {
    if (!disk || (kind != PARTITION_SYSTEM && kind != PARTITION_DATA))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return create(disk, kind); });
    if (code) {
        MORV_LOG(LOG_ERR, "Failed to create partitions of kind %d on %s, errno=%m", kind, disk);
        return MORV_FAIL(code, -1);
    }
    return 0;
}
