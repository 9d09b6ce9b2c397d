#include <fcntl.h>
#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/log.h"

extern "C" int MLIBFileTouch(const char *path) noexcept {
    if (!path) {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    if (BlMLIBFileExist(path)) return 0;
    // Without truncation: a file made by another process in the meantime keeps its content.
    const morv::UniqueFd fd(open(path, O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0666));
    if (!fd) {
        MORV_LOG(LOG_ERR, "file exist: %s, errno=%m", path);
        return -1;
    }
    return 0;
}
