#include <morvsdk/internal/file.h>

#include "core/base/fail.h"
#include "core/text/line_match.h"

extern "C" int MLIBIFileMatch(const char *line, const MLIBSZLIST *fields, const char *separators) noexcept {
    if (!line || !separators) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return morv::fields_match(line, fields, separators);
}
