// The one trimming rule of configuration keys and values.
#pragma once

#include <string_view>

namespace morv {

// Tab, line feed, carriage return and space; no others, whatever the locale.
constexpr bool is_blank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Without the white space at both ends.
std::string_view trim_blanks(std::string_view text) noexcept;

// Without the white space at both ends, then without one pair of enclosing double quotes, which keeps the
// white space inside of it. A lone quote stays.
std::string_view trim(std::string_view text) noexcept;

}  // namespace morv
