#include <morvsdk/internal/file.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/text/line_match.h"

extern "C" int MLIBILineMatch(const char *line, const char *pattern, int flags) noexcept {
    if (!line) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    morv::LinePattern prepared;
    bool matched = false;
    int code = prepared.set(pattern, flags);
    if (code == 0) {
        code = morv::no_throw([&] {
            matched = prepared.matches(line);
            return 0;
        });
    }
    if (code != 0) return MORV_FAIL(code, 0);
    return matched;
}
