#include <morvsdk/internal/file.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/text/lines.h"
#include "core/text/trim.h"

extern "C" int MLIBILineKeyMatch(char *line, const char *key) noexcept {
    if (!line || !key) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    if (morv::is_comment(line)) return 0;
    char *const start = line + strspn(line, "=");
    char *const end = start + strcspn(start, "=");
    *end = '\0';
    return morv::trim(start) == key;
}
