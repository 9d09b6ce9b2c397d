// Texts put into fields of records and buffers of callers: whole, or not at all.
#pragma once

#include <stddef.h>
#include <string.h>

#include <string_view>

namespace morv {

inline bool copy_text(char *to, size_t room, std::string_view text) noexcept {
    if (text.size() >= room || text.find('\0') != text.npos) return false;
    memcpy(to, text.data(), text.size());
    to[text.size()] = '\0';
    return true;
}

template <size_t N>
bool copy_text(char (&to)[N], std::string_view text) noexcept {
    return copy_text(to, N, text);
}

}  // namespace morv
