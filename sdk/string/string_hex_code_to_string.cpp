#include <morvsdk/string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

namespace {

int digit_value(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

extern "C" int MLIBStrHexCodeToString(const char *hex, char *dst, int size) noexcept {
    if (!hex || !dst || hex == dst) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text = hex;
    if (morv::exceeds(text.size(), size)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    int length = 0;
    for (size_t i = 0; i < text.size(); i += 2) {
        if (text[i] == 'x') ++i;
        if (i + 1 >= text.size()) break;
        const int high = digit_value(text[i]), low = digit_value(text[i + 1]);
        if (high < 0 || low < 0) break;
        dst[length++] = char(high << 4 | low);
    }
    dst[length] = '\0';
    return length;
}
