#include "core/base/fail.h"
#include "file/line_edit.h"

using namespace morv;

static int set_line(const char *path, const char *pattern, const char *line, int flags) {
    LinePattern prepared;
    if (int code = prepared.set(pattern, flags)) return code;
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMayCreate, ERR_READ_FAILED)) return code;
    const std::string_view text = file.text();
    std::string content;
    if (file.exists()) {
        const std::string_view old =
            find_line(text, flags, [&](auto candidate) { return prepared.matches(candidate); });
        if (!old.data()) return ERR_KEY_NOT_FOUND;
        const size_t at = size_t(old.data() - text.data());
        content.append(text, 0, at);
        if (line) content.append(line).append("\n");
        content.append(text, at + old.size());
    } else if (line) {
        content.append(line).append("\n");
    }
    return file.commit(content);
}

extern "C" int MLIBFileSetLine(const char *path, const char *pattern, const char *line, int flags) noexcept {
    if (!path || !pattern) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] { return set_line(path, pattern, line, flags); });
    if (code != 0) return MORV_FAIL(code, code == ERR_KEY_NOT_FOUND ? 0 : -1);
    return 1;
}
