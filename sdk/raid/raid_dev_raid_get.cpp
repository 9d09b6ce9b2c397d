#include <morvsdk/raid.h>

#include <memory>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/storage/device_name.h"
#include "core/text/field_text.h"

using namespace morv;

extern "C" int RAIDDevRAIDGet(const char *device, char *buffer, int size, int *pNumber) noexcept {
    if (!device || !buffer || size < 1 || !pNumber) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    RAID_SB sb;
    int32_t number;
    RAID_INFO *found = nullptr;
    if (RAIDSBGet(device, &sb) != 1 || !array_number(sb.szPath, number) ||
        RAIDInfoGet(sb.szPath, &found) != 1)
        return 0;
    const std::unique_ptr<RAID_INFO, Releaser<RAIDInfoFree>> info(found);
    if (RAIDDiskListSearch(info->pDisks, device, nullptr) != 1) return 0;
    if (!copy_text({buffer, size_t(size)}, sb.szPath)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, 0);
    *pNumber = number;
    return 1;
}
