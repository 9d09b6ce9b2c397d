#include <morvsdk/disk.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/disk_layout.h"

using namespace morv;

extern "C" int PartitionLayoutGet(const char *device, int *pLayout) noexcept {
    if (!device || !pLayout) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int layout = DISK_LAYOUT_LARGE;
    const int code = no_throw([&] {
        Disk disk;
        if (const int failed = read_disk(device, disk)) return failed;
        const Partition *const data = disk.find(kDataPartition);
        if (!data) return int{ERR_PATH_NOT_FOUND};
        if (data->start <= DISK_RESERVE_SMALL) layout = DISK_LAYOUT_SMALL;
        return 0;
    });
    if (code) {
        MORV_LOG(LOG_DEBUG, "Failed to get the layout of %s, errno=%m", device);
        return MORV_FAIL(code, -1);
    }
    *pLayout = layout;
    return 0;
}
