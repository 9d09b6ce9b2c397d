// The process that empties the recycle bins.
//
// It holds a record lock on its pid file as long as it runs, so that the kernel says whether it runs and
// which process it is. The number in the file is for people: a number that was given to another process
// since is never trusted.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "core/base/guard.h"

namespace morv {

// Starts the process for the bins in these folders, and those in every folder in `homes`. ERR_OP_FAILURE
// when there is one already.
int start_cleaning(const std::vector<std::string> &folders, const std::vector<std::string> &homes);

// 1 when it runs, 0 when not, or a failure: -1 with an error code in `code`.
int is_cleaning(int &code) noexcept;

// Ends it, and what it has started.
int stop_cleaning() noexcept;

}  // namespace morv
