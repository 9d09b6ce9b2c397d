// Where the three partitions of the appliance's disks lie.
#pragma once

#include "core/storage/block_device.h"

namespace morv {

enum { kFirstSystemPartition = 1, kSecondSystemPartition = 2, kDataPartition = 3 };

struct DiskLayout {
    uint64_t start[3];  // of the partitions, in sectors of 512 bytes
    uint64_t size[2];   // of the system's; the data partition takes the rest
};

// "/dev/sda3" for 3.
inline std::string partition_of(const char *disk, int number) {
    return disk + std::to_string(number);
}

// How the disks of this system are laid out: as the first one of "/dev/md0" that has all three partitions, for a
// new one must hold as much; in the large layout where there is none. May throw std::bad_alloc.
DiskLayout system_layout();

}  // namespace morv
