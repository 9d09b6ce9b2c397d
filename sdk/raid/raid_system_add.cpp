#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/disk_layout.h"

using namespace morv;

extern "C" int RAIDSystemAdd(const char *disk) noexcept {
    if (!disk) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int added = -1;
    const int code = no_throw([&] {
        added = RAIDAdd("/dev/md0", partition_of(disk, kFirstSystemPartition).c_str());
        if (added == 0) added = RAIDAdd("/dev/md1", partition_of(disk, kSecondSystemPartition).c_str());
        return 0;
    });
    if (code) return MORV_FAIL(code, -1);
    if (added != 0) MORV_LOG(LOG_ERR, "Failed to add %s to the system arrays", disk);
    return added;
}
