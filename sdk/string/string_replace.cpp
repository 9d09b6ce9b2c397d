#include <morvsdk/string.h>
#include <stdint.h>
#include <string.h>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStrReplace(char *string, const char *find, const char *replacement, char *dst,
                              int size) noexcept {
    if (!string || !find || !replacement) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text = string, inserted = replacement;
    const size_t cut = strlen(find);
    if (int64_t{size} + int64_t(cut) < int64_t(text.size() + inserted.size())) {
        return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    }
    const char *const found = strstr(string, find);
    if (!found) return 0;
    morv::splice(dst ? dst : string, text, size_t(found - string), cut, inserted);
    return 1;
}
