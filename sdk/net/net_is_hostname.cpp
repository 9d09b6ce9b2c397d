#include <morvsdk/net.h>

static bool is_letter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

extern "C" int BlMLIBIsHostname(const char *text) noexcept {
    constexpr int kMost = 15;
    if (!text || !(is_letter(*text) || *text == '_')) return 0;
    int length = 1;
    for (; length <= kMost && text[length] != '\0'; ++length) {
        const char c = text[length];
        if (!is_letter(c) && !(c >= '0' && c <= '9') && c != '-' && c != '_') return 0;
    }
    return length <= kMost;
}
