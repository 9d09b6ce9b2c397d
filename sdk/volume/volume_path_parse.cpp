#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/storage/volume_name.h"

extern "C" int VolumePathParse(const char *path, VOLUME_ID *id) noexcept {
    if (!path || !id) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    VOLUME_ID parsed;
    if (!morv::parse_volume(path, parsed))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "NOT supported volume path: %s", path);
    *id = parsed;
    return 1;
}
