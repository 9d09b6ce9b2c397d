// What the rights lists of shares mean for a user.
#pragma once

#include <morvsdk/share.h>

#include <string_view>

#include "core/store/mirror.h"

namespace morv {

// The access of a user to a share, MORV_SHARE_..., as ParseRights describes. Answers 0 or an error code.
int find_access(const MORVSHARE &share, const char *user, int *access) noexcept;

// Compares three lists as UserCheckRights describes, and answers what that does.
int compare_rights(const char *no_access, const char *read_write, const char *read_only,
                   int *result) noexcept;

// Whether a list names the group that everybody is in.
bool names_everybody(std::string_view list);

}  // namespace morv
