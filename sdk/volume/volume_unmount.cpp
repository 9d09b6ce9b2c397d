#include <errno.h>
#include <morvsdk/volume.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"

extern "C" int VolumeUnmount(const char *mountPoint) noexcept {
    if (!mountPoint || *mountPoint != '/') {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const morv::SysPath path(mountPoint);
    const int code = morv::run_tool("/bin/umount -f %s > /dev/null 2>&1", {path.c_str()});
    if (code == 0) return 0;
    MORV_LOG(LOG_ERR, "Failed to unmount '%s', errno=%d", mountPoint, errno);
    return MORV_FAIL(code, -1);
}
