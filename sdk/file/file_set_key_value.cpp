#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/text/key_lines.h"

using namespace morv;

static int set_key_value(const char *path, std::string_view key, std::string_view value,
                         const char *format) noexcept {
    if (!is_key(key) || !is_one_line(value)) return ERR_BAD_PARAMETERS;
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMayCreate, ERR_WRITE_FAILED)) return code;
    return no_throw([&] {
        std::string content;
        if (int code = set_key(file.text(), key, value, format, content)) return code;
        return file.commit(content);
    });
}

extern "C" int MLIBFileSetKeyValue(const char *path, const char *key, const char *value,
                                   const char *format) noexcept {
    if (!path || !key || !value) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (int code = set_key_value(path, key, value, format)) return MORV_FAIL(code, -1);
    return 1;
}
