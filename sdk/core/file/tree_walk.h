// What copying and removing a tree share: the way down into a folder and back up.
#pragma once

#include <string>
#include <vector>

#include "core/file/tree.h"

namespace morv {

// Which mount a folder lies on. Without the kernel's word for it (it is 0 then) devices must do.
struct MountId {
    uint64_t mount;
    dev_t device;
    bool operator==(const MountId &) const = default;
};

MountId mount_of(int folder, const struct stat &st) noexcept;

// A folder on the way from the top to where the walk is.
struct TreeLevel {
    struct stat st;
    std::string names;  // of its entries, each ended by a zero byte
    size_t next = 0;    // where the next one of them begins
    std::string name;   // its own

    // The next entry, or null behind the last.
    const char *take() noexcept {
        if (next >= names.size()) return nullptr;
        const char *entry = names.c_str() + next;
        next += std::string_view(entry).size() + 1;
        return entry;
    }
};

// Reads the names of an open folder, and what stat(2) says of it.
int open_level(int folder, const char *name, std::vector<TreeLevel> &levels);

// The folder that the open folder lies in; nothing when that is another one than the walk came from.
UniqueFd open_parent(int folder, const struct stat &expected) noexcept;

// The code for errno after a failed system call.
int tree_code(int otherwise) noexcept;

}  // namespace morv
