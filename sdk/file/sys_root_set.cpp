#include <limits.h>
#include <morvsdk/file.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include "core/base/fail.h"
#include "core/file/sys_path.h"

extern "C" int MORVSysRootSet(const char *dir) noexcept {
    if (!dir || !*dir) {
        morv::set_system_root("");
        return 0;
    }
    char resolved[PATH_MAX];
    struct stat st;
    if (!realpath(dir, resolved) || stat(resolved, &st) != 0 || !S_ISDIR(st.st_mode)) {
        return MORV_FAIL(ERR_PATH_NOT_FOUND, -1);
    }
    morv::set_system_root(resolved);
    return 0;
}
