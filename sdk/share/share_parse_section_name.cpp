#include <morvsdk/internal/share.h>
#include <string.h>

#include <algorithm>
#include <string_view>

#include "core/base/fail.h"

extern "C" int ShareParseSectionName(const char *line, char *buffer, int size) noexcept {
    constexpr size_t kMost = 495;
    if (!line || !buffer || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text(line);
    const size_t open = text.find('['), close = text.rfind(']');
    if (open == text.npos || close == text.npos || close < open) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const size_t length = std::min(close - open - 1, kMost);
    if (length >= size_t(size)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    memmove(buffer, line + open + 1, length);
    buffer[length] = '\0';
    return int(length);
}
