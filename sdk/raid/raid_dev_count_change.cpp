#include <morvsdk/raid.h>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"

using namespace morv;

extern "C" int RAIDDevCountChange(const char *path, int count) noexcept {
    if (!path || !is_device(path) || count < 1) {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return -1;
    }
    const int code =
        MORV_RUN("/sbin/mdadm --grow %s -n %d >/dev/null 2>&1\n", {SysPath(path).c_str(), count});
    return code ? MORV_FAIL(code, -1) : 0;
}
