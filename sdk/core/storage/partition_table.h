// Changes of partition tables, and of what the kernel knows of them.
//
// sfdisk writes the table only; the kernel is told each partition by itself. It would not read the table of a disk
// anew while one of its partitions is in use, as the system's always are.
#pragma once

#include "core/storage/block_device.h"

namespace morv {

// Whether a device is mounted, or belongs to an array, a volume group or another holder: ERR_DEVICE_BUSY. Else
// 0, or ERR_OPEN_FAILED.
int check_unused(const std::string &device) noexcept;

// Writes an empty table. Answers 0, ERR_SYS_UNKNOWN or ERR_OUT_OF_MEMORY.
int write_empty_table(const Disk &disk) noexcept;

// Adds a partition to the table and to the kernel. Its number is the first free one. Answers 0, ERR_DEVICE_BUSY, ERR_OPEN_FAILED,
// ERR_SYS_UNKNOWN or ERR_OUT_OF_MEMORY. May throw std::bad_alloc.
int add_partition(const Disk &disk, const Partition &partition);

// Takes partitions out of the kernel and out of the table. One that is in use ends it: ERR_DEVICE_BUSY, and
// everything is as it was. Else the answers of add_partition.
int remove_partitions(const Disk &disk, const std::vector<Partition> &partitions);

}  // namespace morv
