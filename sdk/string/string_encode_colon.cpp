#include <morvsdk/string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStrEncodeColon(const char *src, char *dst, int size) noexcept {
    if (!src || !dst || src == dst) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (size < 0) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    int length = 0;
    for (const char c : std::string_view(src)) {
        const bool escaped = c == ':' || c == ';';
        if (size - length < 1 + escaped) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
        if (escaped) dst[length++] = ';';
        dst[length++] = c == ':' ? ',' : c;
    }
    dst[length] = '\0';
    return length;
}
