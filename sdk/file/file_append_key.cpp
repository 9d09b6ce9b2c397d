#include <errno.h>
#include <fcntl.h>
#include <morvsdk/file.h>
#include <sys/stat.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_append.h"
#include "core/file/file_edit.h"
#include "core/text/key_lines.h"
#include "core/text/pair_format.h"

using namespace morv;

static int append_key(const char *path, std::string_view key, std::string_view value, const char *format) {
    struct stat st;
    if (!is_key(key) || !is_one_line(value)) return ERR_BAD_PARAMETERS;
    if (stat(path, &st) == 0 && S_ISDIR(st.st_mode)) return ERR_BAD_PARAMETERS;
    std::string line;
    if (int code = append_pair(line, format, key, value)) return code;

    FileAppend file;
    const int code = file.open(path);
    if (code == ERR_OPEN_FAILED && errno == ENOENT) {
        FileEdit fresh;
        if (int failed = fresh.open(path, FileEdit::kMayCreate, ERR_OPEN_FAILED)) return failed;
        // Somebody else may have made it meanwhile.
        return fresh.exists() ? append_key(path, key, value, format) : fresh.commit(line);
    }
    if (code != 0) return code == ERR_READ_FAILED ? ERR_OPEN_FAILED : code;
    if (!find_key_line(file.text(), key).empty()) return ERR_KEY_EXISTS;
    return file.append(line);
}

extern "C" int MLIBFileAppendKey(const char *path, const char *key, const char *value,
                                 const char *format) noexcept {
    if (!path || !key || !value) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] { return append_key(path, key, value, format); });
    if (code != 0) return MORV_FAIL(code, code == ERR_KEY_EXISTS ? 0 : -1);
    return 1;
}
