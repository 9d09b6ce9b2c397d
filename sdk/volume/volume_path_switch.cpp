#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/storage/volume_name.h"
#include "core/text/field_text.h"

using namespace morv;

extern "C" int VolumePathSwitch(const char *path, int option, char *buffer, int size) noexcept {
    MappedPath mapped;
    if (!path || !buffer || size < 0 || !map_path(path, option, mapped))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    if (copy_text({buffer, size_t(size)}, mapped)) return 0;
    return MORV_LOG_FAIL(LOG_DEBUG, ERR_NOT_ENOUGH_MEMORY, -1, "No room for %s in %d bytes", mapped, size);
}
