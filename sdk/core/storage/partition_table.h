// Changes of partition tables, and of what the kernel knows of them.
//
// sfdisk writes the table only; the kernel is told each partition by itself. It would not read the table of
// a disk anew while one of its partitions is in use, as the system's always are.
#pragma once

#include "core/storage/block_device.h"

namespace morv {

// A DOS table has 32 bits for the number of a sector.
inline constexpr uint64_t kMostOfDos = UINT32_MAX;

// Whether a device is mounted, or belongs to an array, a volume group or another holder: ERR_DEVICE_BUSY.
// Else 0, or ERR_OPEN_FAILED.
int check_unused(const std::string &device) noexcept;

// Whether the disk has a GUID partition table, which has a copy of itself in the last sectors.
bool has_gpt(const Disk &disk) noexcept;

// Wipes what is known by a signature on the disk itself, and writes an empty table. Answers 0,
// ERR_SYS_UNKNOWN or ERR_OUT_OF_MEMORY.
int write_empty_table(const Disk &disk) noexcept;

// A partition as the table has it, which may be another than the kernel knows.
struct Entry {
    int number;
    uint64_t start;  // in sectors of 512 bytes
};

// Reads the table; there are no entries where there is none. Answers 0, or the codes of capture_tool. May
// throw std::bad_alloc.
int read_entries(const Disk &disk, std::vector<Entry> &entries);

// Adds a partition to the table and to the kernel, and wipes what is known by a signature in it. Its number
// is the first free one; its ends move inwards to the disk's own sectors. Answers 0, or ERR_OPEN_FAILED,
// ERR_DISK_TOO_SMALL, ERR_DEVICE_BUSY, ERR_SYS_UNKNOWN or ERR_OUT_OF_MEMORY: the partition is then not there.
// May throw std::bad_alloc.
int add_partition(const Disk &disk, const Partition &wanted);

// What of the table goes with partitions of the kernel.
enum class Table {
    kNamed,  // the same partitions
    kAll,    // every one
    kNone    // there is no table
};

// Takes partitions out of the kernel and out of the table. One that is in use, or open, ends it with
// ERR_DEVICE_BUSY, and everything is as it was; so it is when the table cannot be written. Else the answers
// of add_partition. What the partitions hold stays on the disk.
int remove_partitions(const Disk &disk, const std::vector<Partition> &partitions, Table table);

}  // namespace morv
