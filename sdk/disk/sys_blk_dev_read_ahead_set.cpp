#include <fcntl.h>
#include <linux/fs.h>
#include <morvsdk/disk.h>
#include <sys/ioctl.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"

using namespace morv;

extern "C" int MORVSysBlkDevReadAheadSet(const char *device, int sectors) noexcept {
    if (!device || !is_device(device) || sectors < 0)
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const UniqueFd fd(open(SysPath(device).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd) {
        MORV_LOG(LOG_ERR, "Failed to open %s, errno=%m", device);
        return MORV_FAIL(ERR_OPEN_FAILED, -1);
    }
    if (ioctl(fd.get(), BLKRASET, static_cast<unsigned long>(sectors)) != 0) {
        MORV_LOG(LOG_ERR, "Failed to set the read-ahead of %s, errno=%m", device);
        return MORV_FAIL(ERR_UNKNOWN, -1);
    }
    return 0;
}
