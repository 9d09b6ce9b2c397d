// Who may read the mirrors.
#pragma once

#include <sys/types.h>

namespace morv {

// The mode of a mirror's stores: 0666, or 0600 where people log in who must not read password hashes; see
// SECURITY.md. Asked for with each building.
mode_t mirror_mode() noexcept;

}  // namespace morv
