// Changes of shares: in the configuration, in the exports, on disk, and in the mirror.
#pragma once

#include <morvsdk/share.h>

#include "core/store/mirror.h"

namespace morv {

// All take the lock, and answer 0 or an error code.
int set_share(const char *old_name, const MORVSHARE &share) noexcept;

// Removes a share, and its folder unless that is needed.
int delete_share(const char *name) noexcept;

// Removes a share that lies at a path or below, and leaves its folder: where a volume is gone, what has the
// path by now is not the share's. ERR_NO_SUCH_SHARE also for one that lies elsewhere.
int forget_share(const char *name, const char *top) noexcept;

// pairs: null to remove the section
int change_reserved(const char *section, const MLIBSZHASH *pairs) noexcept;

// Writes what the store of an open mirror holds to the configuration. Takes no lock. May throw
// std::bad_alloc.
int dump_shares(Mirror &mirror);

}  // namespace morv
