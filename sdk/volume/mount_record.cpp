#include "volume/mount_record.h"

#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <string.h>
#include <sys/vfs.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/storage/volume_name.h"
#include "core/text/field_text.h"

namespace morv {

namespace {

constexpr size_t kLongestPoint = 31;

uint64_t bytes_of(uint64_t blocks, uint64_t block_size) noexcept {
    uint64_t bytes;
    return __builtin_mul_overflow(blocks, block_size, &bytes) ? UINT64_MAX : bytes;
}

bool read_room(VOLUME_MOUNT &record) noexcept {
    struct statfs room;
    if (statfs(SysPath(record.szMountPoint).c_str(), &room) != 0) {
        MORV_LOG(LOG_DEBUG, "Failed to statfs '%s', errno=%m", record.szMountPoint);
        return false;
    }
    const auto block_size = static_cast<uint64_t>(room.f_frsize > 0 ? room.f_frsize : room.f_bsize);
    record.availableBytes = bytes_of(room.f_bavail, block_size);
    record.totalBytes = bytes_of(room.f_blocks, block_size);
    return true;
}

bool has_point(const VOLUME_MOUNT *list, std::string_view point) noexcept {
    while (list && list->szMountPoint != point)
        list = list->pNext;
    return list != nullptr;
}

}  // namespace

int fill_mount(const VOLUME_ID &id, const Mount *mount, VOLUME_MOUNT &record, bool &has_room) noexcept {
    record = {};
    record.number = id.number;
    record.location = id.location;
    has_room = true;
    if (!mount) return 0;
    if (mount->point.size() > kLongestPoint || !copy_text(record.szMountPoint, mount->point))
        return ERR_BAD_PARAMETERS;
    copy_text(record.szDevice, mount->device);
    record.mounted = 1;
    record.writable = mount->options.substr(0, mount->options.find(',')) == "ro" ? 0 : 1;
    has_room = read_room(record);
    return 0;
}

int list_mounts(int locations, MountListPtr &list, int &count, bool &has_room) {
    Mounts mounts;
    if (const int code = mounts.load()) return code;
    MountListPtr read;
    VOLUME_MOUNT *last = nullptr;
    count = 0;
    has_room = true;
    for (const Mount &mount : mounts.all()) {
        VOLUME_ID id;
        if (!parse_volume(mount.point, id) || (id.location & locations) == 0) continue;
        if (mount.point.size() > kLongestPoint || has_point(read.get(), mount.point)) continue;
        auto *const record = static_cast<VOLUME_MOUNT *>(calloc(1, sizeof(VOLUME_MOUNT)));
        if (!record) return ERR_OUT_OF_MEMORY;
        if (last)
            last->pNext = record;
        else
            read.reset(record);
        last = record;
        bool has_own_room;
        fill_mount(id, mounts.at(mount.point), *record, has_own_room);
        has_room = has_room && has_own_room;
        ++count;
    }
    list = std::move(read);
    return 0;
}

int enumerate_mounts(int locations, VOLUME_MOUNT **list, const char *stem, int line) noexcept {
    MountListPtr mounts;
    int count = 0;
    bool has_room = true;
    int code = ERR_BAD_PARAMETERS;
    if (!list) {
        log_line(LOG_DEBUG, stem, line, "Bad parameters");
    } else if ((code = no_throw([&] { return list_mounts(locations, mounts, count, has_room); })) != 0) {
        log_line(LOG_DEBUG, stem, line, "Failed to list mounted volumes, errno=0X%X", unsigned(code));
    }
    if (code == 0 && !has_room) MLIBErrSetEx(ERR_READ_FAILED, stem, line);
    if (code) {
        MLIBErrSetEx(code, stem, line);
        return -1;
    }
    *list = mounts.release();
    return count;
}

}  // namespace morv
