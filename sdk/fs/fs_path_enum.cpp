#include <morvsdk/fs.h>

#include <string>
#include <unordered_set>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/system/mounts.h"

using namespace morv;

static int push_points(MLIBSZLIST **list) {
    Mounts mounts;
    if (const int code = mounts.load()) return code;
    std::unordered_set<std::string_view> seen;
    std::string path;
    for (const Mount &mount : mounts.all()) {
        if (!seen.insert(mount.point).second) continue;
        path.assign(mount.point);
        if (MLIBSzListPush(list, path.c_str()) < 0) return ERR_OUT_OF_MEMORY;
    }
    return 0;
}

extern "C" int FSPathEnum(MLIBSZLIST **list) noexcept {
    if (!list || !*list) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return push_points(list); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to list mount points, errno=0X%X", unsigned(code));
}
