// The mirror of the groups.
#pragma once

#include <morvsdk/group.h>

#include <optional>
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

// Reads the line of a group. ERR_NO_SUCH_GROUP. May throw std::bad_alloc.
int read_group_line(Mirror &mirror, const std::string &key, std::string *line);

// Reads the line of a group's description, empty when there is none; and what stands behind the name in it.
// The first may throw std::bad_alloc.
int read_description(Mirror &mirror, const std::string &key, std::string *line);
std::string_view description_of(std::string_view line) noexcept;

// Makes a record of a line. Answers 0, ERR_FORMAT_ERROR or ERR_OUT_OF_MEMORY.
int make_group(std::string_view line, MORVGROUP **group) noexcept;

// "name:x:gid:members"
std::string group_line(std::string_view name, uint32_t gid, std::string_view members);

// Writes the line of a group under its upper-cased name, and the name under its gid unless there is none.
// Answers 0 or a code of the store.
int store_group(Mirror &mirror, const std::string &key, std::optional<uint32_t> gid,
                const std::string &line) noexcept;

// Removes a group, but for its description. ERR_NO_SUCH_GROUP, or ERR_ID_NOT_FOUND when the id store does
// not have it: the name store is then changed.
int erase_group(Mirror &mirror, const std::string &key) noexcept;

// The upper-cased name that has a gid; ERR_NO_SUCH_GROUP. May throw std::bad_alloc.
int find_gid(Mirror &mirror, uint32_t gid, std::string &key);

// By its line: whether a group is of a domain; of the system, so that others count on its name; one that
// MORVGroupEnum lists, `mask` as there.
bool is_domain_group(std::string_view line) noexcept;
bool is_system_group(std::string_view line) noexcept;
bool is_listed_group(std::string_view line, int mask) noexcept;

// A group line taken apart: what stands before the members, its last ":" included, and the members. False
// for a line of fewer than four fields.
bool split_members(std::string_view line, std::string_view *before, std::string_view *members) noexcept;

}  // namespace morv
