#include <errno.h>
#include <fcntl.h>
#include <morvsdk/volume.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/system/command.h"

using namespace morv;

namespace {

constexpr mode_t kMode = 0777;

// Whatever the umask is. `made`: whether the folder was not there.
bool make_folder(const char *path, bool &made) noexcept {
    struct stat st;
    made = mkdir(path, 0700) == 0;
    if (!made) return errno == EEXIST && stat(path, &st) == 0 && S_ISDIR(st.st_mode);
    const UniqueFd fd(open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return fd && fchmod(fd.get(), kMode) == 0;
}

}  // namespace

extern "C" int VolumeMount(const char *device, const char *mountPoint) noexcept {
    if (!device || !mountPoint || !is_device(device) || !leads_down(mountPoint))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const SysPath from(device), to(mountPoint);
    bool made = false;
    int code = make_folder(to.c_str(), made) ? 0 : ERR_CREATE_FAILED;
    int status = 0;
    if (code == 0) {
        code = run_tool("mount -o usrquota,grpquota %s %s > /dev/null 2>&1", {from.c_str(), to.c_str()},
                        &status);
    }
    if (code == 0) return 0;
    MORV_LOG(LOG_ERR, "Failed to mount '%s' on '%s', errno=%d", device, mountPoint, status ? status : errno);
    if (made) rmdir(to.c_str());
    return MORV_FAIL(code, -1);
}
