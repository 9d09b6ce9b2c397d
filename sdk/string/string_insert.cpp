#include <morvsdk/string.h>

#include <functional>

#include "core/base/fail.h"
#include "string/string_edit.h"

extern "C" int MLIBStrInsert(char *string, char *position, const char *text, char *dst, int size) noexcept {
    if (!string || !position || !text || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view whole = string, inserted = text;
    if (std::less<>()(position, string) || std::greater<>()(position, string + whole.size())) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    if (morv::exceeds(whole.size() + inserted.size() + 1, size)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    morv::splice(dst ? dst : string, whole, size_t(position - string), 0, inserted);
    return 1;
}
