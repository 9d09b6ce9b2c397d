// Changes of groups: in the mirror, in the files, and in all that names groups.
#pragma once

#include <morvsdk/group.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/store/mirror.h"

namespace morv {

// What is to become of a group.
struct GroupChange {
    const char *old_name;     // null: add
    const MORVGROUP *group;   // what it is to be; null: see description
    const char *description;  // the new description; null: it stays, or with a null group: the group goes

    // `group` is as a backup has it: one that is missing is added, with another gid when its own is not to be
    // had. One that is there keeps the spelling of its name and its gid, and "users" its members beside
    // those. Groups of the system that are not listed are ERR_NO_SUCH_GROUP, and so are those that are
    // missing.
    bool restores = false;
};

// What has become of a change.
struct GroupOutcome {
    int code = 0;  // why it is not made
    uint32_t gid = 0;
    std::vector<std::string> strangers;  // those of the members that are no users, and left out
};

// Makes all changes, or none. Takes the locks. Answers 0 or an error code.
int change_groups(std::span<const GroupChange> changes) noexcept;

// Makes those changes that can be made, together; of new groups as many are added as the model takes. outcomes: of
// each change. Answers 0, or a code when none is made.
int change_groups_if_possible(std::span<const GroupChange> changes, GroupOutcome *outcomes) noexcept;

// The line of a group with the members that are users, as these spell themselves. May throw std::bad_alloc.
int pack_group(std::string_view name, uint32_t gid, std::string_view members, std::string &line);

// Writes a group into the stores of an open mirror. old_key: upper-cased; empty for a new group. May throw
// std::bad_alloc.
int put_group(Mirror &mirror, const std::string &old_key, const MORVGROUP &group);

// Writes the stores out to the files, and marks them. ERR_STORE_INVALID when the files are no longer those
// that the stores were built from. May throw std::bad_alloc.
int dump_groups(Mirror &mirror);

}  // namespace morv
