#include <errno.h>
#include <morvsdk/error.h>
#include <morvsdk/raid.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/system/sysfs.h"

using namespace morv;

using DisksPtr = std::unique_ptr<RAID_DISK, Releaser<RAIDDiskListFree>>;

static bool is_gone(const std::string &entry) {
    return access(SysPath(entry.c_str()).c_str(), F_OK) != 0 && errno == ENOENT;
}

static int read_disks(int32_t number, DisksPtr &disks) {
    const std::string folder = "/sys/block/md" + std::to_string(number) + "/md";
    std::vector<std::string> names;
    if (const int code = list_names(folder.c_str(), "dev-", names)) {
        MORV_LOG(LOG_DEBUG, "Failed to list %s, errno=%m", folder.c_str());
        return MORV_FAIL(code, code);
    }
    for (const std::string &name : names) {
        const std::string entry = std::string(folder).append("/").append(name);
        RAID_DISK *const disk = RAIDDiskCreate(entry.c_str());
        // One that was taken out of the array since it was listed is no member.
        if (!disk && MLIBErrGet() != ERR_OUT_OF_MEMORY && is_gone(entry)) continue;
        if (!disk) return MLIBErrGet();
        RAID_DISK *head = disks.release();
        RAIDDiskListPush(&head, disk);
        disks.reset(head);
    }
    return 0;
}

extern "C" int RAIDDiskListGet(const char *path, RAID_DISK **ppDisks) noexcept {
    if (!path || !ppDisks) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int32_t number;
    if (!array_number(path, number)) {
        MORV_LOG(LOG_DEBUG, "invalide path %s, errno=%m", path);
        return MORV_FAIL(ERR_INVALID_ARRAY, -1);
    }
    DisksPtr disks;
    const int code = no_throw([&] { return read_disks(number, disks); });
    if (code == ERR_OUT_OF_MEMORY) return MORV_FAIL(code, -1);
    if (code) return -1;
    *ppDisks = disks.release();
    return 0;
}
