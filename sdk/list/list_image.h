// The byte image of a string list: integers of 4 bytes in the machine's order, offsets instead of pointers.
#pragma once

#include "core/base/bytes.h"
#include "list/list_block.h"

namespace morv {

// Where the fields stand.
enum : int64_t {
    image_size = 0,
    image_items = 4,
    image_free = 8,
    image_mode = 12,
    image_texts = 16,  // offset of EndofFree
    image_null = 20,   // offset of pszNull
    image_header = 24,
};

inline constexpr int64_t image_slot = 4;

}  // namespace morv
