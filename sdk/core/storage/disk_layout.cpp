#include "core/storage/disk_layout.h"

#include <morvsdk/disk.h>

#include "core/system/sysfs.h"

namespace morv {

namespace {

constexpr uint64_t kMiB = 2048;

// The data partition starts with the first sector of 4 KiB behind the reserve: earlier, and a disk would be
// smaller than what the array on it requires of one; later, and one of the size required would be too small.
constexpr uint64_t kDataStart = (uint64_t{DISK_RESERVE_LARGE} + 7) / 8 * 8;
constexpr DiskLayout kLargeLayout = {{1 * kMiB, 2433 * kMiB, kDataStart}, {2432 * kMiB, 512 * kMiB}};

}  // namespace

DiskLayout system_layout() {
    std::vector<std::string> names;
    constexpr std::string_view kPrefix = "dev-";
    if (list_names("/sys/block/md0/md", kPrefix, names) != 0) names.clear();
    for (const std::string &name : names) {
        Disk disk;
        if (read_disk(("/dev/" + name.substr(kPrefix.size())).c_str(), disk) != 0) continue;
        const Partition *const first = disk.find(kFirstSystemPartition);
        const Partition *const second = disk.find(kSecondSystemPartition);
        const Partition *const data = disk.find(kDataPartition);
        if (!first || !second || !data) continue;
        return {{first->start, second->start, data->start}, {first->size, second->size}};
    }
    return kLargeLayout;
}

}  // namespace morv
