// Puts a new file in the place of an old one.
#pragma once

#include <string_view>

#include "morvctl/fd.h"
#include "morvctl/target.h"

namespace morvctl {

// Writes `content` to a temporary file beside the target, syncs it and renames it over the target, so that the
// old or the new file is there, whole, also after a power loss. It has the owner, mode, access list and
// extended attributes of `old`; without one those that a new file gets. Throws a Failure when it cannot: the
// target is then as it was, unless just the folder could not be synced.
void replace_file(const Target &target, const Fd &old, std::string_view content);

}  // namespace morvctl
