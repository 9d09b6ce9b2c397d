// How many accounts the model allows.
#pragma once

namespace morv {

// The number under a key of "/etc.defaults/morvinfo.conf"; 0 for an empty value. Answers 0, ERR_KEY_NOT_FOUND or
// ERR_OPEN_FAILED.
int read_limit(const char *key, int *limit) noexcept;

}  // namespace morv
