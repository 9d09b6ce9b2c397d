#include <morvsdk/unicode.h>

#include "core/base/fail.h"
#include "core/text/case.h"

extern "C" int MLIBUnicodeUTF8StrUpper(const char *src, char *dst, int size) noexcept {
    if (!src || !dst) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int64_t length = morv::upper_length(src);
    if (length < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (length >= size) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    morv::upper_write(src, dst);
    return static_cast<int>(length);
}
