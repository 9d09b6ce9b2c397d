#include <morvsdk/disk.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/block_device.h"

using namespace morv;

extern "C" int DiskSizeGet(const char *device, uint64_t *pSectors) noexcept {
    if (!device || !pSectors) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    uint64_t sectors;
    const int code = no_throw([&] { return read_device_size(device, sectors); });
    if (code == ERR_PATH_NOT_FOUND) return 0;
    if (code) {
        MORV_LOG(LOG_DEBUG, "Failed to get the size of %s, errno=%m", device);
        return MORV_FAIL(code, -1);
    }
    *pSectors = sectors;
    return 1;
}
