// What a file has beside its content: owner, mode, and extended attributes, the access lists among them.
#pragma once

#include <sys/stat.h>

namespace morv {

// Gives the open file or folder `to` the extended attributes of `from`, and takes the access lists from it
// that it was made with and `from` does not have. Answers whether that worked; errno says why not.
bool copy_attributes(int from, int to, bool is_folder) noexcept;

// Gives the open file `to` the owner, group, mode and attributes that `from` has, of which `st` tells.
// Answers whether that worked.
bool make_alike(int from, const struct stat &st, int to) noexcept;

}  // namespace morv
