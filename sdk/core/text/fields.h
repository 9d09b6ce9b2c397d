// Lines of fields, as the account files have them: "name:x:0:0::/root:/bin/sh". An empty field is a field.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <span>
#include <string_view>

namespace morv {

// Puts the fields of `line` into `fields` as far as there is room. Answers how many the line has; one more
// than there is room for, whatever their number, when it has more.
size_t split_fields(std::string_view line, char separator, std::span<std::string_view> fields) noexcept;

// The number that a text begins with, as atoi reads it: white space, a sign, digits, and whatever follows;
// 0 without a digit. One beyond the range of ids, -2^31 to 2^32 - 1, becomes the end that it lies behind,
// so that no number too large turns into the id 0 of the superuser.
int64_t leading_number(std::string_view text) noexcept;

}  // namespace morv
