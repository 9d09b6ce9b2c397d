#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/disk_layout.h"

using namespace morv;

extern "C" int RAIDDiskIsUsedByInternalRAID(const char *disk) noexcept {
    if (!disk) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    bool is_used = false;
    const int code = no_throw([&] {
        char path[sizeof RAID_SB{}.szPath];
        int number;
        const std::string partition = partition_of(disk, kDataPartition);
        is_used = RAIDDevRAIDGet(partition.c_str(), path, sizeof path, &number) == 1 && number <= 99;
        return 0;
    });
    if (code) return MORV_FAIL(code, -1);
    return is_used ? 1 : 0;
}
