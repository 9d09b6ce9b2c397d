#include <errno.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/file/file_append.h"
#include "file/line_edit.h"

using namespace morv;

static int append_line(const char *path, const char *line) {
    FileAppend file;
    if (int code = file.open(path)) return code;
    const std::string_view text = file.text();
    return file.append(with_line_at(text, text.size(), line).substr(text.size()));
}

static int add_line(const char *path, const char *pattern, const char *line, int flags) {
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMayCreate, ERR_READ_FAILED, O_RDWR)) return code;
    if (!file.exists()) return file.commit(std::string(line).append("\n"));
    if (!pattern) {
        if (flags & MORV_LINE_AFTER) return append_line(path, line);
        return file.commit(with_line_at(file.text(), 0, line));
    }
    LinePattern prepared;
    if (int code = prepared.set(pattern, flags)) return code;
    const std::string_view neighbour =
        find_line(file.text(), flags, [&](auto candidate) { return prepared.matches(candidate); });
    if (!neighbour.data()) return ERR_KEY_NOT_FOUND;
    return file.commit(with_line_beside(file.text(), neighbour, line, flags));
}

extern "C" int MLIBFileAddLine(const char *path, const char *pattern, const char *line, int flags) noexcept {
    if (!path || !line || flags < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] { return add_line(path, pattern, line, flags); });
    if (code != 0) return MORV_FAIL(code, code == ERR_KEY_NOT_FOUND ? 0 : -1);
    return 1;
}
