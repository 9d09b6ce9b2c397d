#include "core/text/name_rule.h"

#include <stddef.h>

#include "core/text/case.h"

namespace morv {

static bool may_stand_in_name(unsigned char c) noexcept {
    return c >= 0x80 || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           c == '.' || c == '-' || c == '_' || c == ' ';
}

bool is_account_name(const char *name, int most) noexcept {
    if (!name || *name == '\0' || *name == ' ' || *name == '-') return false;
    int characters = 0;
    const char *at = name;
    for (; *at; ++at) {
        const auto c = static_cast<unsigned char>(*at);
        if (!may_stand_in_name(c)) return false;
        const bool begins_character = (c & 0xC0) != 0x80;
        if (begins_character && ++characters > most) return false;
        // Valid texts have at most three such bytes in a row; this one may have no end.
        if (at - name >= ptrdiff_t{4} * most) return false;
    }
    return at[-1] != ' ' && utf8_valid(name);
}

}  // namespace morv
