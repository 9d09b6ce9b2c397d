#include <morvsdk/string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStrDecodeColon(const char *src, char *dst, int size) noexcept {
    if (!src || !dst || src == dst) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text = src;
    if (morv::exceeds(text.size(), size)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    int length = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == ';') {
            const char escaped = ++i < text.size() ? text[i] : '\0';
            if (escaped != ',' && escaped != ';') break;
            c = escaped == ',' ? ':' : ';';
        }
        dst[length++] = c;
    }
    dst[length] = '\0';
    return length;
}
