#include "core/base/fail.h"
#include "file/line_edit.h"

using namespace morv;

extern "C" int MLIBFileReplaceSubStr(const char *path, const char *old_text, const char *new_text) noexcept {
    if (!path || !old_text || !*old_text || !new_text) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view from = old_text;
    const std::string_view to = new_text;
    int replaced = 0;
    const int code = edit_lines(path, replaced, [&](std::string_view line, std::string &out) {
        int count = 0;
        for (size_t hit; (hit = line.find(from)) != line.npos; ++count) {
            out.append(line, 0, hit).append(to);
            line.remove_prefix(hit + from.size());
        }
        out.append(line);
        return count;
    });
    return code != 0 ? MORV_FAIL(code, -1) : replaced;
}
