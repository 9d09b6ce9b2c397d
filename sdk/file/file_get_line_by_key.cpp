#include <string.h>

#include "core/base/fail.h"
#include "core/file/file_text.h"
#include "file/line_edit.h"

using namespace morv;

extern "C" int MLIBFileGetLineByKey(const char *path, const MLIBSZLIST *fields, const char *separators,
                                    char **line) noexcept {
    if (!path || !separators || !line) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    FileText file;
    if (int code = file.load(path)) return MORV_FAIL(code, -1);
    const std::string_view found = find_line(
        file.view(), 0, [&](auto candidate) { return fields_match(candidate, fields, separators); });
    if (!found.data()) return MORV_FAIL(ERR_KEY_NOT_FOUND, 0);

    const std::string_view text = without_line_feed(up_to_nul(found));
    char *copy = static_cast<char *>(malloc(text.size() + 1));
    if (!copy) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    *line = copy;
    return 1;
}
