#include <morvsdk/volume.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/system/command.h"
#include "core/system/mounts.h"
#include "core/system/services.h"

using namespace morv;

namespace {

// Where the device is mounted and may still be written to.
int find_writable(const char *device, std::string &point) {
    Mounts mounts;
    if (const int code = mounts.load(LOG_ERR)) return code;
    int code = ERR_PATH_NOT_FOUND;
    for (const Mount &mount : mounts.all()) {
        if (mount.device != device) continue;
        code = ERR_READ_ONLY_FS;
        if (mount.has_option("ro")) continue;
        point.assign(mount.point);
        return 0;
    }
    return code;
}

int remount(const char *device) {
    std::string point;
    if (const int code = find_writable(device, point)) return code;
    const SysPath from(device), to(point.c_str());
    ServicePause pause;
    if (const int code = pause.begin()) return code;
    const int code = run_tool("mount -o remount,ro %s %s", {from.c_str(), to.c_str()});
    const int started = pause.end();
    return code ? code : started;
}

}  // namespace

extern "C" int MORVRemountCrashRaidRo(const char *device) noexcept {
    if (!device || !is_device(device))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return remount(device); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to mount '%s' read-only, errno=0X%X", device,
                         unsigned(code));
}
