// The list of failed logins, in a folder that everybody can write.
#pragma once

#include <stdint.h>

#include "core/base/guard.h"
#include "core/store/address_list.h"

namespace morv {

// Opens the list, locked for this process alone. What is no list of ours is moved out of the way: a link or a
// second name would have us write elsewhere, one too large would take us for ever, and so would one that
// somebody keeps locked: that is waited for half a minute. Answers 0,
// ERR_FILE_NOT_FOUND (only with kIsFine), ERR_OPEN_FAILED, ERR_STAT_FAILED or ERR_LOCK_FAILED.
int open_failure_list(Missing missing, UniqueFd &list, int64_t &size) noexcept;

// Opens the list for reading, as it is; what is no list of ours is ERR_FILE_NOT_FOUND, as nothing in it counts.
int open_failure_list_to_read(UniqueFd &list, int64_t &size) noexcept;

}  // namespace morv
