// The one way in which commands change a file: under its lock, or as a diff of what would change.
#pragma once

#include <functional>
#include <string>

#include "morvctl/target.h"

namespace morvctl {

// Calls `apply` with the path of the file, or with --dry-run with that of a copy. It makes its change there
// with the library, answers how many things it changed, and throws a Failure when it cannot. Prints what
// there is to print. Answers the exit code.
int change_file(const Session &session, const std::string &name,
                const std::function<int(const std::string &path)> &apply);

}  // namespace morvctl
