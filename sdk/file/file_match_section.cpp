#include <morvsdk/internal/file.h>

#include "core/base/fail.h"
#include "core/text/sections.h"

extern "C" int MLIBIFileMatchSection(const char *line, int length, const char *section) noexcept {
    if (!line || !section) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return length > 0 && morv::opens_section({line, size_t(length)}, section);
}
