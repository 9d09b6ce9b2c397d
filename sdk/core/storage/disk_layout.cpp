#include "core/storage/disk_layout.h"

#include <string.h>

#include "core/system/sysfs.h"

namespace morv {

namespace {

constexpr uint64_t kMiB = 2048;

// All start on a MiB, and end below DISK_RESERVE_LARGE.
constexpr DiskLayout kLargeLayout = {{1 * kMiB, 2433 * kMiB, 3066 * kMiB}, {2432 * kMiB, 512 * kMiB}};

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
