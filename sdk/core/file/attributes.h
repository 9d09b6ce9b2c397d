// Extended attributes, the access lists among them.
#pragma once

namespace morv {

// Gives the open file or folder `to` the extended attributes of `from`, and takes the access lists from it
// that it was made with and `from` does not have. Answers whether that worked; errno says why not.
bool copy_attributes(int from, int to, bool is_folder) noexcept;

}  // namespace morv
