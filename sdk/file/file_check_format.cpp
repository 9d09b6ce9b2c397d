#include <morvsdk/internal/file.h>

#include "core/text/pair_format.h"

extern "C" int MLIBIFileCheckFormat(const char *format) noexcept {
    return morv::is_pair_format(format);
}
