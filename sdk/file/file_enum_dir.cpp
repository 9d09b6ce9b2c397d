#include <errno.h>
#include <morvsdk/file.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/no_throw.h"
#include "core/text/line_match.h"

using namespace morv;

// Answers an error code; -1 for a push that has set its own.
static int enum_dir(DIR *dir, LinePattern &pattern, MLIBSZLIST **list, int &pushed) {
    std::string line;
    for (;;) {
        errno = 0;
        const dirent *entry = readdir(dir);
        if (!entry) return errno == 0 ? 0 : ERR_READ_FAILED;
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        // As a line of its own, so that the pattern can stand at its end.
        line.assign(name).push_back('\n');
        if (!pattern.matches(line)) continue;
        if (MLIBSzListPush(list, entry->d_name) < 0) return -1;
        ++pushed;
    }
}

extern "C" int MLIBFileEnumDir(const char *path, const char *pattern, MLIBSZLIST **list, int flags) noexcept {
    if (!path || !list || !*list) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    LinePattern prepared;
    if (int code = prepared.set(pattern, flags)) return MORV_FAIL(code, -1);
    const DirPtr dir(opendir(path));
    if (!dir) return MORV_FAIL(ERR_OPEN_FAILED, -1);
    int pushed = 0;
    const int code = no_throw([&] { return enum_dir(dir.get(), prepared, list, pushed); });
    if (code > 0) return MORV_FAIL(code, -1);
    return code < 0 ? -1 : pushed;
}
