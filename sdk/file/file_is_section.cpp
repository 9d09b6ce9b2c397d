#include <morvsdk/internal/file.h>

#include "core/text/sections.h"

extern "C" int MLIBIFileIsSection(const char *line, int length) noexcept {
    return line && length > 0 && morv::is_section_line({line, size_t(length)});
}
