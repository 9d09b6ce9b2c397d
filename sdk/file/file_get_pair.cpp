#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "file/pair_lines.h"

extern "C" int MLIBFileGetPair(const char *path, MLIBSZHASH **hash) noexcept {
    if (!path || !hash || !*hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    morv::FileText file;
    if (int code = file.load(path)) return MORV_FAIL(code, -1);
    if (int code = morv::store_pairs(file, file.view(), "#;", hash)) return MORV_FAIL(code, -1);
    return MLIBSzHashGetLength(*hash);
}
