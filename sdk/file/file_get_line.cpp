#include <limits.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/file/file_text.h"
#include "file/line_edit.h"

using namespace morv;

extern "C" int MLIBFileGetLine(const char *path, const char *pattern, char *buffer, int size,
                               int flags) noexcept {
    if (!path || !pattern || !buffer || size <= 0 || flags < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    LinePattern prepared;
    if (int code = prepared.set(pattern, flags)) return MORV_FAIL(code, -1);
    FileText file;
    if (int code = file.load(path)) return MORV_FAIL(code, -1);

    std::string_view line;
    if (int code = no_throw([&] {
            line = find_line(file.view(), flags, [&](auto candidate) { return prepared.matches(candidate); });
            return 0;
        })) {
        return MORV_FAIL(code, -1);
    }
    if (!line.data()) return MORV_FAIL(ERR_KEY_NOT_FOUND, 0);
    line = without_line_feed(up_to_nul(line));
    if (line.size() >= size_t(size)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    memcpy(buffer, line.data(), line.size());
    buffer[line.size()] = '\0';
    return int(line.size()) + 1;
}
