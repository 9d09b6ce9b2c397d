#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "volume/mount_record.h"

using namespace morv;

extern "C" int MORVMountVolAllEnum(VOLUME_MOUNT **list) noexcept {
    constexpr int kLocations = VOLUME_INTERNAL | VOLUME_EXPANSION | VOLUME_USB | VOLUME_SATA;
    if (!list) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    MountListPtr mounts;
    int count;
    bool has_room;
    const int code = no_throw([&] { return list_mounts(kLocations, mounts, count, has_room); });
    if (code)
        return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to list mounted volumes, errno=0X%X",
                             unsigned(code));
    *list = mounts.release();
    return has_room ? count : MORV_FAIL(ERR_READ_FAILED, count);
}
