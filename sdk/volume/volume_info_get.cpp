#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/volume_name.h"
#include "volume/volume_info.h"

using namespace morv;

static int look_up(const char *path, VolumePtr &info) {
    StorageView view;
    if (const int code = view.load()) {
        MORV_LOG(LOG_DEBUG, "Failed to get file system info, path=%s, errno=0X%X", path, unsigned(code));
        return code == ERR_OUT_OF_MEMORY ? code : int{ERR_UNKNOWN};
    }
    return return_volume(view, path, info);
}

extern "C" int VolumeInfoGet(const char *path, VOLUME_INFO **info) noexcept {
    if (!path || !info) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    VolumePtr found;
    const int code = no_throw([&] { return look_up(path, found); });
    if (code == kErrorIsSet) return -1;
    if (code)
        return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to read volume %s, errno=0X%X", path,
                             unsigned(code));
    if (!found) return 0;
    *info = found.release();
    return 1;
}
