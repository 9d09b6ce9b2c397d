// The mirror of the groups.
#pragma once

#include <morvsdk/group.h>

#include <string>
#include <string_view>

#include "core/account/account_store.h"
#include "core/store/mirror.h"

namespace morv {

// Slots, in the order of MORVGROUPDB.
enum GroupSlot { kGroupName, kGroupId, kGroupDescription };

// Sources, in the order in which they are compared.
enum GroupSource { kFromGroup, kFromGroupDesc };

extern const MirrorKind group_mirror_kind;

inline MORVGROUPDB *group_handle(Mirror *mirror) noexcept {
    return reinterpret_cast<MORVGROUPDB *>(mirror);
}
inline Mirror *mirror_of(MORVGROUPDB *db) noexcept {
    return reinterpret_cast<Mirror *>(db);
}

// Domain groups have no id.
inline constexpr std::string_view kNoGid = "-1";

// Adds the groups of the domain; a step of the building.
int build_domain_groups(Mirror &mirror) noexcept;

// A group line taken apart: what stands before the members, its last ":" included, and the members. False for a line
// of fewer than four fields.
bool split_members(std::string_view line, std::string_view *before, std::string_view *members) noexcept;

}  // namespace morv
