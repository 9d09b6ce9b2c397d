#include <morvsdk/raid.h>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"

using namespace morv;

extern "C" int RAIDAdd(const char *path, const char *device) noexcept {
    if (!path || !device || !is_device(path) || !is_device(device)) {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return -1;
    }
    const int code =
        MORV_RUN("/sbin/mdadm %s -a %s > /dev/null 2>&1", {SysPath(path).c_str(), SysPath(device).c_str()});
    return code ? MORV_FAIL(code, -1) : 0;
}
