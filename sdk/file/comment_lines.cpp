#include "file/comment_lines.h"

#include "file/line_edit.h"

namespace morv {

int comment_lines(const char *path, const char *pattern, char mark, CommentChange change, int flags,
                  int &changed) noexcept {
    if (!path) return ERR_BAD_PARAMETERS;
    LinePattern prepared;
    if (int code = prepared.set(pattern, flags)) return code;
    const int code = edit_lines(path, changed, [&](std::string_view line, std::string &out) {
        const bool marked = line[0] == mark;
        const std::string_view active = line.substr(marked ? 1 : 0);
        const bool wanted = change == CommentChange::kInvert || marked == (change == CommentChange::kRestore);
        if (!wanted || !prepared.matches(active)) {
            out.append(line);
            return 0;
        }
        if (!marked) out.push_back(mark);
        out.append(active);
        return 1;
    });
    return code == 0 && changed == 0 ? int{ERR_KEY_NOT_FOUND} : code;
}

}  // namespace morv
