// Letter case of UTF-8 texts: Unicode's full upper-casing, the same in every locale. Texts are checked whole;
// one that is not valid UTF-8 is refused and equals nothing.
#pragma once

#include <stdint.h>

#include <string_view>

namespace morv {

// What case_compare answers when a text is not valid UTF-8.
inline constexpr int case_invalid = -2;

bool utf8_valid(const char *text) noexcept;

// Bytes of the upper-cased text without its zero; -1 when the text is not valid UTF-8.
int64_t upper_length(const char *text) noexcept;

// Writes the upper-cased text and a zero to `to`, which has room for upper_length + 1 bytes. Answers where
// the zero is.
char *upper_write(const char *text, char *to) noexcept;

// The order of the upper-cased texts by code point, which is also that of their bytes: -1, 0, 1; or
// case_invalid.
int case_compare(const char *a, const char *b) noexcept;

// As case_compare, but an order of all texts: those that are not valid come last, by their bytes.
int case_compare_all(const char *a, const char *b) noexcept;

// case_compare(a, b) == 0, without looking at what stands behind the first difference.
bool case_equal(const char *a, const char *b) noexcept;

// The same for words of a format: only the letters of ASCII have two cases.
bool ascii_equal(std::string_view a, std::string_view b) noexcept;

// A hash that equal texts share. False when the text is not valid UTF-8.
bool case_hash(const char *text, uint64_t *hash) noexcept;

}  // namespace morv
