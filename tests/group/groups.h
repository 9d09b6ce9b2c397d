// Groups and open mirrors for tests, given back at the end.
#pragma once

#include <morvsdk/bdb.h>
#include <morvsdk/internal/group.h>

#include <memory>
#include <string>
#include <string_view>

#include "support/accounts.h"

namespace group_test {

struct FreeGroup {
    void operator()(MORVGROUP *group) const { MORVGroupFree(group); }
};
using Group = std::unique_ptr<MORVGROUP, FreeGroup>;

inline Group make(const char *name, uint32_t gid, const char *members) {
    MORVGROUP *made = nullptr;
    MORVGroupAlloc(&made, name, gid, members);
    return Group(made);
}

struct CloseMirror {
    void operator()(MORVGROUPDB *db) const { MORVGroupDBClose(db); }
};
using Mirror = std::unique_ptr<MORVGROUPDB, CloseMirror>;

inline Mirror open_mirror() {
    return Mirror(MORVGroupDBOpen());
}

// What a store holds under a key, which is stored with its NUL; "-" for nothing.
inline std::string stored(MORVBDB *store, const char *key) {
    void *value = nullptr;
    int size = 0;
    std::string found = "-";
    if (MORVBDbGet(store, key, int(std::string_view(key).size()) + 1, &value, &size) == 0)
        found = static_cast<char *>(value);
    MORVBDbFree(value);
    return found;
}

// "name:password:gid:members" of a group as callers read it; "-" when there is none.
inline std::string seen(const char *name) {
    MORVGROUP *found = nullptr;
    if (MORVGroupGet(name, &found) != 0) return "-";
    const Group guard(found);
    return std::string(found->szName) + ":" + found->szPassword + ":" + std::to_string(int(found->gid)) +
           ":" + found->szMembers;
}

}  // namespace group_test
