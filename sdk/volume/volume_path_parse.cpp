#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/storage/volume_name.h"

extern "C" int VolumePathParse(const char *path, VOLUME_ID *id) noexcept {
    if (!path || !id) {
        MORV_LOG(LOG_DEBUG, "Bad parameters");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    VOLUME_ID parsed;
    if (!morv::parse_volume(path, parsed)) {
        MORV_LOG(LOG_DEBUG, "NOT supported volume path: %s", path);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    *id = parsed;
    return 1;
}
