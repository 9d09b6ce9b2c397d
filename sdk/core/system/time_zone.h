// The time zone of the appliance: the text of "/etc/TZ", a zone as the variable TZ has it and a line feed.
#pragma once

#include <stddef.h>

namespace morv {

inline constexpr size_t kTimeZoneMost = 127;  // bytes, without the line feed

// Reads it; false, and `zone` is as it was, when there is none. One that does not end in a line feed is not
// whole.
bool read_time_zone(char (&zone)[kTimeZoneMost + 1]) noexcept;

// Makes it the time zone of the process, which keeps its own when there is none.
void take_time_zone() noexcept;

}  // namespace morv
