#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/volume_name.h"
#include "volume/mount_record.h"

using namespace morv;

extern "C" int MORVMountVolInfoGet(const char *path, VOLUME_MOUNT *mount) noexcept {
    VOLUME_ID id;
    if (!path || !mount || !parse_volume(path, id))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    VOLUME_MOUNT record;
    bool has_room;
    const int code = no_throw([&] {
        Mounts mounts;
        if (const int failed = mounts.load()) return failed;
        return fill_mount(id, mounts.at(path), record, has_room);
    });
    if (code)
        return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to read what is mounted at %s, errno=0X%X", path,
                             unsigned(code));
    *mount = record;
    return has_room ? 0 : MORV_FAIL(ERR_READ_FAILED, 0);
}
