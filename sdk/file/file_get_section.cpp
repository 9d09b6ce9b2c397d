#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "file/pair_lines.h"

using namespace morv;

extern "C" int MLIBFileGetSection(const char *path, const char *section, MLIBSZHASH **hash) noexcept {
    if (!path || !section || !hash || !*hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (int code = read_section(path, section, "", hash)) return MORV_FAIL(code, -1);
    return MLIBSzHashGetLength(*hash);
}
