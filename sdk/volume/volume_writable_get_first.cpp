#include <morvsdk/volume.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/text/field_text.h"

extern "C" int VolumeWritableGetFirst(const VOLUME_MOUNT *list, int mask, char *buffer, int size,
                                      VOLUME_ID *id) noexcept {
    if (!buffer || size < 0) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, 0, "Bad parameters");
    constexpr int kSelectable = VOLUME_INTERNAL | VOLUME_EXPANSION;
    while (list && !(list->mounted && list->writable && (list->location & mask & kSelectable)))
        list = list->pNext;
    if (!list) return 0;
    if (!morv::copy_text({buffer, size_t(size)}, list->szMountPoint))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_NOT_ENOUGH_MEMORY, 0, "No room for %s in %d bytes",
                             list->szMountPoint, size);
    if (id) *id = {list->number, list->location};
    return 1;
}
