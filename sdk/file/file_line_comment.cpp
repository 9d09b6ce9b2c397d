#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "file/comment_lines.h"

using namespace morv;

extern "C" int MORVFileLineComment(const char *path, const char *pattern, int comment, int flags) noexcept {
    const auto change = comment ? CommentChange::kComment : CommentChange::kRestore;
    int changed = 0;
    if (int code = comment_lines(path, pattern, '#', change, flags, changed)) {
        return MORV_FAIL(code, code == ERR_KEY_NOT_FOUND ? 0 : -1);
    }
    return changed;
}
