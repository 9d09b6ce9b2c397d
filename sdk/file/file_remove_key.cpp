#include <fcntl.h>
#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/file/file_edit.h"
#include "core/text/key_lines.h"

using namespace morv;

extern "C" int MLIBFileRemoveKey(const char *path, const char *key) noexcept {
    if (!path || !key) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (!is_key(key)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    FileEdit file;
    if (int code = file.open(path, FileEdit::kMayCreate, ERR_WRITE_FAILED)) {
        // Callers remove keys from files that need not be there, and do not want to hear of it.
        return code == ERR_OPEN_FAILED && !file.exists() ? -1 : MORV_FAIL(code, -1);
    }
    if (!file.exists()) return -1;

    int dropped = 0;
    const int code = no_throw([&] {
        std::string content;
        dropped = remove_key(file.text(), key, content);
        return dropped > 0 ? file.commit(content) : int{ERR_KEY_NOT_FOUND};
    });
    if (code != 0) return MORV_FAIL(code, code == ERR_KEY_NOT_FOUND ? 0 : -1);
    return dropped;
}
