// Lines made comments and back.
#pragma once

namespace morv {

enum class CommentChange { kComment, kRestore, kInvert };

// Changes every line that matches `pattern`, a commented one judged without its mark. `changed` counts them.
// Answers an error code, ERR_KEY_NOT_FOUND when there was none.
int comment_lines(const char *path, const char *pattern, char mark, CommentChange change, int flags,
                  int &changed) noexcept;

}  // namespace morv
