#include <fcntl.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/storage/md_array.h"

using namespace morv;

extern "C" int RAIDIsDetected(const char *path) noexcept {
    if (!path) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const UniqueFd fd(open(SysPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd) {
        MORV_LOG(LOG_DEBUG, "Failed to open %s, errno=%m", path);
        return MORV_FAIL(ERR_OPEN_FAILED, -1);
    }
    mdu_array_info_t array;
    const int code = md_description(fd.get(), array);
    if (code == 0) return 1;
    if (code == ERR_PATH_NOT_FOUND) return 0;
    MORV_LOG(LOG_DEBUG, "Failed to ioctl for array info of %s, errno=%m", path);
    return MORV_FAIL(code, -1);
}
