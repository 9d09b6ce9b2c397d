#include <limits.h>
#include <morvsdk/string.h>
#include <string.h>

#include <functional>

#include "core/base/fail.h"
#include "core/text/trim.h"

extern "C" int MLIBStrTrimSpace(char *string, char *dst) noexcept {
    if (!string) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text = string;
    if (dst && std::greater<>()(dst, string) && std::less_equal<>()(dst, string + text.size())) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const std::string_view trimmed = morv::trim(text);
    if (trimmed.size() > INT_MAX) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const auto length = int(trimmed.size());
    char *const result = dst ? dst : string;
    memmove(result, trimmed.data(), trimmed.size());
    result[length] = '\0';
    return length;
}
