// Names of volumes, and of what they lie on.
#pragma once

#include <morvsdk/volume.h>

#include <string_view>

namespace morv {

// The id that a path says; false for one that is no volume's.
bool parse_volume(std::string_view path, VOLUME_ID &id) noexcept;

// Whether it is the path of an internal volume or of one of an enclosure.
inline bool is_fixed_volume(std::string_view path) noexcept {
    VOLUME_ID id;
    return parse_volume(path, id) && (id.location & (VOLUME_INTERNAL | VOLUME_EXPANSION)) != 0;
}

// Large enough for every path that is made of a prefix and a number.
using MappedPath = char[32];

// Maps a path by VOLUME_TO_VG...; false for one that the option does not map.
bool map_path(std::string_view path, int option, MappedPath &mapped) noexcept;

// The group of a logical volume's device; false for another device.
bool group_of_device(std::string_view device, MappedPath &group) noexcept;

}  // namespace morv
