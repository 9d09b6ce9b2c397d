#include <morvsdk/internal/file.h>

#include "core/base/fail.h"

extern "C" int ErrMLIBFileSetSection(const char *path, const char *section, const char *new_name,
                                     const MLIBSZHASH *hash, const char *format) noexcept {
    if (!hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return ErrMLIBIFileModifySection(path, section, new_name, hash, MORV_SECTION_WRITE, format);
}
