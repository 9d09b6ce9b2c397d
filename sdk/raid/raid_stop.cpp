#include <morvsdk/raid.h>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"

using namespace morv;

extern "C" int RAIDStop(const char *path) noexcept {
    if (!path || !is_device(path)) {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return -1;
    }
    const int code = MORV_RUN("/sbin/mdadm -S %s > /dev/null 2>&1", {SysPath(path).c_str()});
    return code ? MORV_FAIL(code, -1) : 0;
}
