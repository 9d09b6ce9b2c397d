// Listing users and groups.
#pragma once

#include <morvsdk/list.h>
#include <stdint.h>

#include <functional>
#include <string_view>

#include "core/store/mirror.h"

namespace morv {

// What there is to be listed: the lines of a mirror's first store.
struct Listing {
    const MirrorKind &kind;
    uint32_t lock;
    bool (*is_listed)(std::string_view line, int mask) noexcept;
};

extern const Listing user_listing;
extern const Listing group_listing;

// Calls `see` with the name of each account that is to be listed, in upper-cased order, under the lock.
// prefix: null, or what the names begin with, in any letter case.
using SeeName = std::function<int(std::string_view name)>;
int for_each_name(const Listing &listing, int mask, const char *prefix, const SeeName &see) noexcept;

// Pushes the names onto a list, and answers how many.
int list_names(const Listing &listing, MLIBSZLIST **list, int mask, const char *prefix, int *count) noexcept;
int count_names(const Listing &listing, int mask, int *count) noexcept;

}  // namespace morv
