// What mdadm prints of the superblock of a device:
//
//     ARRAY /dev/md2 level=raid5 num-devices=3 UUID=fc646850:65793a92:c7780c0e:bc15422d
#pragma once

#include <morvsdk/raid.h>
#include <stddef.h>

#include <string_view>

namespace morv {

struct SuperblockText {
    RAID_SB sb = {};
    bool has_path = false;
    bool has_uuid = false;
    bool has_level = false;
    bool has_devices = false;
};

// Reads the first line of what mdadm printed; a longer one than 1024 bytes, and words that do not fit the
// record, count as not there. A device "/dev/md/2" is named "/dev/md2".
SuperblockText parse_superblock(std::string_view output) noexcept;

}  // namespace morv
