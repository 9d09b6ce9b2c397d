// The key of an interface's MTU in "/etc/morvinfo.conf".
#pragma once

#include <stdio.h>

#include "core/system/interfaces.h"

namespace morv {

inline constexpr const char *kMtuFile = "/etc/morvinfo.conf";

struct MtuKey {
    explicit MtuKey(const char *name) noexcept { snprintf(text, sizeof text, "%.7s_mtu", name); }
    char text[12];
};

}  // namespace morv
