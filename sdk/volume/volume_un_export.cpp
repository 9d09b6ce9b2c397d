#include <morvsdk/volume.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/volume_name.h"
#include "volume/unexport.h"

extern "C" int VolumeUnExport(const char *path) noexcept {
    VOLUME_ID id;
    if (!path || !morv::parse_volume(path, id))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = morv::no_throw([&] { return morv::unexport_volume(path); });
    return code ? MORV_FAIL(code, -1) : 0;
}
