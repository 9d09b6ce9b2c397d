// "KEY=VALUE" arguments, and what of them is refused.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "morvctl/output.h"

namespace morvctl {

// The print formats of a pair: key=value, and key="value".
inline constexpr char kPlainFormat[] = "%s=%s\n";
inline constexpr char kQuotedFormat[] = "%s=\"%s\"\n";

std::string_view trim_blanks(std::string_view text);

// Blanks at both ends, then one pair of double quotes, as the library reads keys and values.
std::string_view trim(std::string_view text);

// Refuses what would be several lines.
void check_one_line(std::string_view what, std::string_view text);

// Refuses an empty key, which any blank line would hold.
void check_not_empty(std::string_view key);

// Refuses a key that could not be read back.
void check_key(std::string_view key);

// Cuts "KEY=VALUE" arguments at their first "=" and checks them. A key given twice is wrong usage.
Pairs parse_pairs(const std::vector<std::string> &arguments);

}  // namespace morvctl
