// "/etc/fstab", what is to be mounted.
#pragma once

#include <string>
#include <string_view>

namespace morv {

// Appends the text without the lines of a mount point; comments and all other lines stay byte for byte. May
// throw std::bad_alloc.
void remove_mount_point(std::string_view text, std::string_view point, std::string &out);

}  // namespace morv
