// Disks and partitions as "/sys/block" tells of them. Sizes and places are in sectors of 512 bytes.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

namespace morv {

struct Partition {
    std::string device;  // "/dev/sda3"
    int number;
    uint64_t start;
    uint64_t size;
};

struct Disk {
    std::string device;      // "/dev/sda"
    bool is_made_of_others;  // an array or a mapping: what lies on it belongs to its users
    uint64_t size;
    uint64_t sector_size;  // bytes of a sector of the disk's own, a multiple of 512
    std::vector<Partition> partitions;

    const Partition *find(int number) const noexcept;
};

// These answer 0, ERR_BAD_PARAMETERS (not a device), ERR_PATH_NOT_FOUND (the kernel knows of none),
// ERR_OPEN_FAILED, ERR_READ_FAILED, ERR_FORMAT_ERROR or ERR_UNKNOWN. They may throw std::bad_alloc.

// The size of a disk or partition.
int read_device_size(const char *device, uint64_t &sectors);

// The disk that `device` is or lies on.
int read_disk(const char *device, Disk &disk);

}  // namespace morv
