#include <morvsdk/log.h>

#include "core/base/fail.h"
#include "core/text/field_text.h"
#include "log/log_file.h"

using namespace morv;

extern "C" int MORVLogPathGet(int log, int access, char *path, int size, int *pSize) noexcept {
    LogPlace place;
    if (!path || size < 0 || find_log(log, access, place) != 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (!copy_text({path, size_t(size)}, place.path)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    if (pSize) *pSize = place.size;
    return 0;
}
