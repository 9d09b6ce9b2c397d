// What things may be called.
#pragma once

#include <string_view>

namespace morv {

// Of ASCII, whatever the locale.
constexpr bool is_letter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool is_letter_or_digit(char c) noexcept {
    return is_letter(c) || (c >= '0' && c <= '9');
}

// Whether a text is a plain word of ASCII letters, digits, "_" and "-": as a part of a path it leads nowhere else.
bool is_plain_word(std::string_view text) noexcept;

// For users, groups and shares: whether `name` (null: no) has 1 to `most` UTF-8 characters, all of them beyond ASCII or ASCII letters,
// digits, ".", "-", "_" and blanks, begins with neither "-" nor a blank and ends with no blank. What is not
// valid UTF-8 is refused: it has no upper-cased form to be found under.
bool is_account_name(const char *name, int most) noexcept;

}  // namespace morv
