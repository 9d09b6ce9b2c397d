// What the string functions share.
#pragma once

#include <stddef.h>

#include <string_view>

#include "core/base/guard.h"

namespace morv {

// Whether `length` bytes are more than `size`; a negative size has room for nothing.
constexpr bool exceeds(size_t length, int size) noexcept {
    return size < 0 || length > size_t(size);
}

// A copy with a terminator, or null.
MallocPtr<char> copy_text(std::string_view text) noexcept;

// Writes `string`, its `cut` bytes from `at` on replaced by `text`, with a terminator to `dst`. `dst` may be
// `string` or overlap it in any way; `text` may not lie in what is written.
void splice(char *dst, std::string_view string, size_t at, size_t cut, std::string_view text) noexcept;

}  // namespace morv
