#include "core/text/name_rule.h"

#include <stddef.h>

#include <algorithm>

#include "core/text/case.h"

namespace morv {

static bool may_stand_in_name(char c) noexcept {
    return static_cast<unsigned char>(c) >= 0x80 || is_letter_or_digit(c) || c == '.' || c == '-' ||
           c == '_' || c == ' ';
}

bool is_plain_word(std::string_view text) noexcept {
    return !text.empty() && std::all_of(text.begin(), text.end(),
                                        [](char c) { return is_letter_or_digit(c) || c == '_' || c == '-'; });
}

bool is_account_name(const char *name, int most) noexcept {
    if (!name || *name == '\0' || *name == ' ' || *name == '-') return false;
    int characters = 0;
    const char *at = name;
    for (; *at; ++at) {
        if (!may_stand_in_name(*at)) return false;
        const bool begins_character = (*at & 0xC0) != 0x80;
        if (begins_character && ++characters > most) return false;
        // Valid texts have at most three such bytes in a row; this one may have no end.
        if (at - name >= ptrdiff_t{4} * most) return false;
    }
    return at[-1] != ' ' && utf8_valid(name);
}

}  // namespace morv
