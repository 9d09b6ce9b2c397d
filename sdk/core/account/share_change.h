// Changes of shares: in the configuration, in the exports, on disk, and in the mirror.
#pragma once

#include <morvsdk/share.h>

#include "core/store/mirror.h"

namespace morv {

// All take the lock, and answer 0 or an error code.
int set_share(const char *old_name, const MORVSHARE &share) noexcept;

// What becomes of the folder of a share that is deleted. It is to be left where its volume is gone: what has
// its path by now is not the share's.
enum class ShareFolder { kRemove, kLeave };
int delete_share(const char *name, ShareFolder folder = ShareFolder::kRemove) noexcept;

// pairs: null to remove the section
int change_reserved(const char *section, const MLIBSZHASH *pairs) noexcept;

// Writes what the store of an open mirror holds to the configuration. Takes no lock. May throw
// std::bad_alloc.
int dump_shares(Mirror &mirror);

}  // namespace morv
