// Listing users.
#pragma once

#include <morvsdk/user.h>

#include <string_view>

namespace morv {

// As MORVUserEnum and MORVUserEnumByPrefix (prefix not null).
int list_users(MLIBSZLIST **list, int mask, const char *prefix, int *count) noexcept;
int count_users(int mask, int *count) noexcept;
int list_domain_users_in_use(MLIBSZLIST **list, std::string_view prefix, int *count) noexcept;

}  // namespace morv
