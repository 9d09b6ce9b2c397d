#include <limits.h>
#include <morvsdk/file.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/file/file_text.h"
#include "core/text/key_lines.h"
#include "core/text/trim.h"

using namespace morv;

// The value that counts; data() is null when there is none. A line with nothing after its "=" ends the
// search: what is known by then stays.
static std::string_view find_value(std::string_view text, std::string_view key, bool last) noexcept {
    std::string_view value;
    size_t from = 0;
    for (;;) {
        const std::string_view line = find_key_line(text, key, from);
        if (line.empty()) return value;
        const KeyLine parsed = parse_key_line(line);
        if (!parsed.has_value) return value;
        value = trim(parsed.value);
        if (!last) return value;
        from = size_t(line.data() - text.data()) + line.size();
    }
}

extern "C" int MLIBFileGetKeyValue(const char *path, const char *key, char *buffer, int size,
                                   int flags) noexcept {
    if (!path || !key || flags < 0 || size < 0 || (!buffer && size != 0)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    FileText file;
    if (int code = file.load(path)) return MORV_FAIL(code, -1);
    const std::string_view value = find_value(file.view(), key, (flags & MORV_KEY_LAST) != 0);
    if (!value.data()) return MORV_FAIL(ERR_KEY_NOT_FOUND, 0);
    if (value.size() >= INT_MAX || (buffer && value.size() >= size_t(size))) {
        return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    }
    if (buffer) {
        memcpy(buffer, value.data(), value.size());
        buffer[value.size()] = '\0';
    }
    return int(value.size()) + 1;
}
