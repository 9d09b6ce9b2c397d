// What is known of each kind of settings: its short name, and the items of its block.
#pragma once

#include <morvsdk/service.h>
#include <morvsdk/sysbkp.h>
#include <stdint.h>

#include <span>

namespace morv {

struct FieldInfo {
    const char *name;
    int32_t type;  // MORV_SYSBKP_STRING or MORV_SYSBKP_LONG
    bool is_secret = false;
    int setting = -1;  // the MORV_SETTING_... that the item holds, where it is one
};

// A block holds the fields of `head`. If there is a `record`, the last of these counts how many of them
// follow; if there is an `entry`, the last field of a record counts how many of those follow it.
struct BlockInfo {
    int32_t id;
    const char *name;
    std::span<const FieldInfo> head, record, entry;
};

// Null for a kind that is not known.
const BlockInfo *block_info(int id) noexcept;

}  // namespace morv
