// What the kernel's md driver answers about an open array.
//
// All answer 0, ERR_PATH_NOT_FOUND where the kernel knows of no such array (any more), or ERR_UNKNOWN.
#pragma once

#include <morvsdk/raid.h>
#include <stdint.h>

#include <string_view>

namespace morv {

int md_description(int fd, mdu_array_info_t &array) noexcept;
int md_size(int fd, uint64_t &bytes) noexcept;
int md_rebuild(int fd, RAID_REBUILD &rebuild) noexcept;

// The number of an array that was opened under the name "/dev/mdN", or by a link to it.
bool md_number(int fd, int32_t &number) noexcept;

// What an array uses of each member, in bytes. Where that does not fit the kernel's description, "/sys" tells;
// where that does not either, the result is larger than every device.
uint64_t md_component_size(const mdu_array_info_t &array, int32_t number) noexcept;

// The resync that the texts of "sync_action" and "sync_completed" tell of.
RAID_REBUILD parse_sync(std::string_view action, std::string_view completed) noexcept;

}  // namespace morv
