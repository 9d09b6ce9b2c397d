// Names as mail addresses have them: atoms with a "." between each two.
#pragma once

#include <array>
#include <string_view>

namespace morv {

// The characters of atoms. Bytes above 126 are among them, and so are all characters of UTF-8 beyond ASCII.
inline constexpr std::array<bool, 256> kIsAtomCharacter = [] {
    std::array<bool, 256> is{};
    for (unsigned c = 33; c < 256; ++c)
        is[c] = std::string_view("\"(),.:;<>[\\]@").find(char(c)) == std::string_view::npos;
    return is;
}();

// Where the characters of an atom end.
inline const char *end_of_atom(const char *text) noexcept {
    while (kIsAtomCharacter[static_cast<unsigned char>(*text)])
        ++text;
    return text;
}

// Where a domain name ends, which is at the first character that none can have; null when there is none: an
// atom is missing before or behind a ".".
inline const char *end_of_domain(const char *text) noexcept {
    for (;; ++text) {
        const char *const end = end_of_atom(text);
        if (end == text) return nullptr;
        text = end;
        if (*text != '.') return text;
    }
}

// The most characters of domain names and mail addresses.
inline constexpr int kDomainMost = 512;

}  // namespace morv
