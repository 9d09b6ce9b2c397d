#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/text/field_text.h"
#include "raid/live_array.h"

using namespace morv;

extern "C" int RAIDDevRAIDGet(const char *device, char *buffer, int size, int *pNumber) noexcept {
    if (!device || !buffer || size < 1 || !pNumber)
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, 0, "Bad parameters");
    RAID_SB sb;
    int32_t number;
    if (find_live_array(device, sb, number) != 1) return 0;
    if (!copy_text({buffer, size_t(size)}, sb.szPath))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_NOT_ENOUGH_MEMORY, 0, "The buffer is too small");
    *pNumber = number;
    return 1;
}
