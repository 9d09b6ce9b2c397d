// Lists of users and groups against the accounts that there are.
#pragma once

#include <string>
#include <string_view>

#include "core/store/mirror.h"

namespace morv {

class Accounts {
  public:
    // Open mirrors; null where none of that kind is to be found.
    Accounts(Mirror *users, Mirror *groups) noexcept : users_(users), groups_(groups) {}

    // Appends the items of `list` that exist to `out`, as MORVUserGetValidUserList describes. May throw
    // std::bad_alloc.
    int normalise(std::string_view list, std::string &out, int *count) const;

  private:
    Mirror *users_;
    Mirror *groups_;
};

// The live mirrors, open as far as names need it.
struct AccountMirrors {
    MirrorPtr users, groups;

    // Answers 0, ERR_OPEN_FAILED or ERR_OUT_OF_MEMORY.
    int open() noexcept;
    Accounts accounts() const noexcept { return Accounts(users.get(), groups.get()); }
};

// The same into a block from malloc that grows as needed.
int valid_names(Mirror *users, Mirror *groups, std::string_view list, char **buffer, int *size,
                int *count) noexcept;

// The same against the live mirrors, under their locks.
int valid_names_of_system(std::string_view list, char **buffer, int *size, int *count) noexcept;

}  // namespace morv
