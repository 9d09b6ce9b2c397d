#include "core/base/fail.h"
#include "file/line_edit.h"

using namespace morv;

extern "C" int MLIBFileSetLineByKey(const char *path, const MLIBSZLIST *fields, const char *line,
                                    const char *separators) noexcept {
    if (!path || !fields || fields->nItem <= 0 || !line || !separators)
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view text = line;
    int replaced = 0;
    const int code = edit_lines(path, replaced, [&](std::string_view old, std::string &out) {
        if (!fields_match(old, fields, separators)) {
            out.append(old);
            return 0;
        }
        out.append(text);
        if (!text.ends_with('\n')) out.append("\n");
        return 1;
    });
    return code != 0 ? MORV_FAIL(code, -1) : replaced;
}
