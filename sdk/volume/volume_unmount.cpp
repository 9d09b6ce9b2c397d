#include <errno.h>
#include <morvsdk/volume.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"

extern "C" int VolumeUnmount(const char *mountPoint) noexcept {
    if (!mountPoint || !morv::leads_down(mountPoint))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const morv::SysPath path(mountPoint);
    int status = 0;
    const int code = morv::run_tool("/bin/umount -f %s > /dev/null 2>&1", {path.c_str()}, &status);
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to unmount '%s', errno=%d", mountPoint,
                         status ? status : errno);
}
