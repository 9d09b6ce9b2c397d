#include "core/base/fail.h"
#include "file/line_edit.h"

using namespace morv;

static int add_line(const char *path, const MLIBSZLIST *fields, const char *line, int flags,
                    const char *separators) {
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMustExist, ERR_READ_FAILED)) return code;
    const std::string_view neighbour = find_line(
        file.text(), flags, [&](auto candidate) { return fields_match(candidate, fields, separators); });
    if (!neighbour.data()) return ERR_KEY_NOT_FOUND;
    return file.commit(with_line_beside(file.text(), neighbour, line, flags));
}

extern "C" int MLIBFileAddLineByKey(const char *path, const MLIBSZLIST *fields, const char *line, int flags,
                                    const char *separators) noexcept {
    if (!path || !line || flags < 0 || !separators) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] { return add_line(path, fields, line, flags, separators); });
    if (code != 0) return MORV_FAIL(code, code == ERR_KEY_NOT_FOUND ? 0 : -1);
    return 1;
}
