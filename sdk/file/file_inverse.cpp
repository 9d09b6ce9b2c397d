#include <morvsdk/internal/file.h>

#include "core/base/fail.h"
#include "file/comment_lines.h"

using namespace morv;

extern "C" int MLIBFileIInverse(const char *path, const char *pattern, int mark, int flags) noexcept {
    if (mark != '#' && mark != ';') return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int changed = 0;
    if (int code = comment_lines(path, pattern, char(mark), CommentChange::kInvert, flags, changed)) {
        return MORV_FAIL(code, code == ERR_KEY_NOT_FOUND ? 0 : -1);
    }
    return changed;
}
