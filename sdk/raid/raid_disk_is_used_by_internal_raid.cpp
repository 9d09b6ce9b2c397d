#include <morvsdk/error.h>
#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/disk_layout.h"
#include "raid/live_array.h"

using namespace morv;

extern "C" int RAIDDiskIsUsedByInternalRAID(const char *disk) noexcept {
    if (!disk) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int found = -1;
    int32_t number = 0;
    const int code = no_throw([&] {
        RAID_SB sb;
        found = find_live_array(partition_of(disk, kDataPartition).c_str(), sb, number);
        return 0;
    });
    if (code) return MORV_FAIL(code, -1);
    if (found < 0) {
        MORV_LOG(LOG_DEBUG, "Failed to get the array of %s, errno=0x%X", disk, unsigned(MLIBErrGet()));
        return -1;
    }
    return found == 1 && number <= 99 ? 1 : 0;
}
