#include <limits.h>
#include <morvsdk/string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStringToHexCode(const char *src, char *dst, int size) noexcept {
    if (!src || !dst || src == dst) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text = src;
    if (morv::exceeds(text.size(), size) || text.size() > INT_MAX / 2) {
        return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    }
    static constexpr char digits[] = "0123456789ABCDEF";
    int length = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        dst[length++] = digits[byte >> 4];
        dst[length++] = digits[byte & 0xF];
    }
    dst[length] = '\0';
    return length;
}
