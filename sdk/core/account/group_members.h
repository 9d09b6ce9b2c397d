// Who is in a group.
#pragma once

#include <string>
#include <vector>

#include "core/store/mirror.h"

namespace morv {

// The group that everybody is in, upper-cased.
inline constexpr std::string_view kEverybody = "USERS";

// Appends the members of a group (its upper-cased name) in the order of its line. All local users are in "users": who
// is not named there follows; `users` is needed for that group only. ERR_NO_SUCH_GROUP. May throw std::bad_alloc.
int read_members(Mirror *users, Mirror &groups, const std::string &group, std::vector<std::string> &members);

}  // namespace morv
