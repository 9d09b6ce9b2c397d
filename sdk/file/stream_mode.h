// The mode text of a stream, as the system's calls get it: at most 7 characters.
#pragma once

#include <stdio.h>

namespace morv {

struct StreamMode {
    explicit StreamMode(const char *mode) noexcept { snprintf(text, sizeof text, "%s", mode); }
    char text[8];
};

}  // namespace morv
