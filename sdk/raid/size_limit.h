// The limit of what a new array uses of each member.
#pragma once

#include <stdint.h>

namespace morv {

// Reads the limit in KiB, 0 for none. Answers 0, ERR_UNKNOWN ("/tmp" cannot be listed) or ERR_OUT_OF_MEMORY.
// May throw std::bad_alloc.
int read_size_limit(uint32_t &kib);

}  // namespace morv
