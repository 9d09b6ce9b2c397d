#include <morvsdk/fs.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/file_system.h"

using namespace morv;

extern "C" int FSInfoGet(const char *path, FS_INFO **info) noexcept {
    if (!path || !info) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    FS_INFO *read = nullptr;
    const int code = no_throw([&] {
        Mounts mounts;
        if (const int failed = mounts.load()) return failed;
        const Mount *const mount = mounts.at(path);
        return mount ? read_file_system(*mount, &read) : 0;
    });
    if (code)
        return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to read what is mounted at %s, errno=0X%X", path,
                             unsigned(code));
    if (!read) return 0;
    *info = read;
    return 1;
}
