#include <morvsdk/net.h>

#include "core/text/name_rule.h"

using namespace morv;

extern "C" int BlMLIBIsHostname(const char *text) noexcept {
    constexpr int kMost = 15;
    if (!text || !(is_letter(*text) || *text == '_')) return 0;
    int length = 1;
    for (; length <= kMost && text[length] != '\0'; ++length) {
        const char c = text[length];
        if (!is_letter_or_digit(c) && c != '-' && c != '_') return 0;
    }
    return length <= kMost;
}
