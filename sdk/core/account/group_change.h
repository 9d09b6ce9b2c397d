// Changes of groups: in the mirror, in the files, and in all that names groups.
#pragma once

#include <morvsdk/group.h>

#include <string>
#include <string_view>

#include "core/store/mirror.h"

namespace morv {

// What is to become of a group.
struct GroupChange {
    const char *old_name;     // null: add
    const MORVGROUP *group;   // what it is to be; null: see description
    const char *description;  // the new description; null with a null group: the group goes
};

// Makes the change, or does nothing. Takes the locks. Answers 0 or an error code.
int change_group(const GroupChange &change) noexcept;

// The line of a group with the members that are users, as these spell themselves. May throw std::bad_alloc.
int pack_group(std::string_view name, uint32_t gid, std::string_view members, std::string &line);

// Writes a group into the stores of an open mirror. old_key: upper-cased; empty for a new group. May throw
// std::bad_alloc.
int put_group(Mirror &mirror, const std::string &old_key, const MORVGROUP &group);

// Writes the stores out to the files, and marks them. ERR_STORE_INVALID when the files are no longer those
// that the stores were built from. May throw std::bad_alloc.
int dump_groups(Mirror &mirror);

}  // namespace morv
