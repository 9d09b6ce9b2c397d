// How many accounts the model allows.
#pragma once

namespace morv {

// The number under a key of "/etc.defaults/morvinfo.conf", and whether the value is empty, which allows
// none. Answers 0, ERR_KEY_NOT_FOUND or ERR_OPEN_FAILED.
struct Limit {
    int most;
    bool is_empty;
};
int read_limit(const char *key, Limit *limit) noexcept;

// How many may be added where there are `there`; INT_MAX when there is no limit that can be read.
int room_below_limit(const char *key, int there) noexcept;

// Whether `adds` more are too many.
bool exceeds_limit(const char *key, int there, int adds) noexcept;

}  // namespace morv
