// Groups as the C library has them.
#pragma once

#include <grp.h>
#include <stddef.h>

#include <string_view>

namespace morv {

// Makes a record with its texts and its members in a buffer (null and 0, or from malloc), grown as needed.
// The members are separated by ","; empty ones count for nothing. Answers 0 or ERR_OUT_OF_MEMORY. None of
// the texts may lie in the buffer.
int make_unix_group(std::string_view name, std::string_view password, gid_t gid, std::string_view members,
                    void **buffer, int *size, struct group **group) noexcept;

}  // namespace morv
