#include <limits.h>
#include <morvsdk/string.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string_view>

#include "core/base/fail.h"
#include "core/base/log.h"

namespace {

// The items and a separator behind each; 0 when there is nothing to join.
uint64_t joined_size(const char **items, int count, size_t separator_length) {
    uint64_t total = 0;
    for (int i = 0; i < count; ++i) {
        if (items[i]) total += strlen(items[i]) + separator_length;
    }
    return total;
}

// Makes `buffer` hold `total` bytes and one more; on failure it is gone.
bool grow(char *&buffer, int &size, uint64_t total) {
    char *const bigger = total < INT_MAX ? static_cast<char *>(realloc(buffer, size_t(total) + 1)) : nullptr;
    if (!bigger) free(buffer);
    buffer = bigger;
    size = bigger ? int(total) : 0;
    return bigger != nullptr;
}

char *append(char *end, std::string_view text) {
    memcpy(end, text.data(), text.size());
    return end + text.size();
}

}  // namespace

extern "C" int MORVStrJoin(const char **items, int count, const char *separator, char **ppBuffer,
                           int *pSize) noexcept {
    if (!items || !separator || !ppBuffer || !pSize || count < 1 || (*ppBuffer && *pSize < 1)) {
        MORV_LOG(LOG_ERR, "Bad parameters!!");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const size_t separator_length = strlen(separator);
    const uint64_t total = joined_size(items, count, separator_length);
    if (total == 0) {
        MORV_LOG(LOG_ERR, "The input array is empty!!");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    // The terminator goes where the last separator would begin, which an empty one leaves no room for.
    const uint64_t needed = total + (separator_length == 0);
    if (!*ppBuffer || uint64_t(*pSize) < needed) {
        if (!grow(*ppBuffer, *pSize, total)) {
            MORV_LOG(LOG_ERR, "Out of memory!!");
            return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
        }
    }

    memset(*ppBuffer, 0, size_t(*pSize));
    char *end = *ppBuffer;
    bool first = true;
    for (int i = 0; i < count; ++i) {
        if (!items[i]) continue;
        if (!first) end = append(end, {separator, separator_length});
        end = append(end, items[i]);
        first = false;
    }
    *end = '\0';
    return 0;
}
