#include <ctype.h>
#include <morvsdk/string.h>
#include <string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" char *SzMLIBStrCaseLower(char *string, int, char *dst, int size) noexcept {
    if (!string) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    const size_t length = strlen(string);
    if (!dst) {
        if (morv::exceeds(length, size)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, nullptr);
        dst = string;
    }
    memmove(dst, string, length + 1);
    for (size_t i = 0; i < length; ++i)
        dst[i] = char(tolower(static_cast<unsigned char>(dst[i])));
    return dst;
}
