#include <morvsdk/volume.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/storage/volume_name.h"
#include "volume/unexport.h"

extern "C" int VolumeUnExport(const char *path) noexcept {
    VOLUME_ID id;
    // A volume of its own, not a folder in one: all that is mounted in it goes.
    if (!path || !morv::parse_volume(path, id) || strchr(path + 1, '/'))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = morv::unexport_volume(path);
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to take %s out of service, errno=0X%X", path,
                         unsigned(code));
}
