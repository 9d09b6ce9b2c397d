// Texts in fields of a fixed size. What does not fit is refused, never cut: half a name is another name.
#pragma once

#include <string.h>

#include <span>
#include <string_view>

namespace morv {

// Copies a text and its NUL; false, and the field is as it was, when the text does not fit or holds a NUL.
inline bool copy_text(std::span<char> field, std::string_view text) noexcept {
    if (text.size() >= field.size() || text.find('\0') != text.npos) return false;
    if (!text.empty()) memcpy(field.data(), text.data(), text.size());
    field[text.size()] = '\0';
    return true;
}

}  // namespace morv
