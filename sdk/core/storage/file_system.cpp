#include "core/storage/file_system.h"

#include <errno.h>
#include <fcntl.h>
#include <morvsdk/errcodes.h>
#include <stdlib.h>
#include <unistd.h>

#include "core/base/bytes.h"
#include "core/base/guard.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"

namespace morv {

namespace {

// Of the superblock of ext2, ext3 and ext4, which have the same one.
constexpr off_t kSuperblock = 1024;
constexpr size_t kMagic = 56;
constexpr size_t kState = 58;
constexpr uint16_t kExtMagic = 0xEF53;
constexpr uint16_t kErrorState = 2;

bool is_ext(std::string_view type) noexcept {
    return type == "ext2" || type == "ext3" || type == "ext4";
}

// A crashed array gives nothing to read; that its file system is mounted is worth telling all the same.
int32_t read_state(const char *device) noexcept {
    if (!leads_down(device)) return FS_STATE_UNKNOWN;
    const UniqueFd fd(open(SysPath(device).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    char superblock[kState + 2];
    ssize_t got;
    do {
        got = fd ? pread(fd.get(), superblock, sizeof superblock, kSuperblock) : 0;
    } while (got < 0 && errno == EINTR);
    if (got != ssize_t(sizeof superblock) || load_le16(superblock + kMagic) != kExtMagic)
        return FS_STATE_UNKNOWN;
    return load_le16(superblock + kState) & kErrorState ? FS_STATE_ERRORS : FS_STATE_CLEAN;
}

}  // namespace

int read_file_system(const Mount &mount, FS_INFO **info) noexcept {
    MallocPtr<FS_INFO> read(static_cast<FS_INFO *>(calloc(1, sizeof(FS_INFO))));
    if (!read) return ERR_OUT_OF_MEMORY;
    if (!copy_text(read->szDevice, mount.device) || !copy_text(read->szMountPoint, mount.point) ||
        !copy_text(read->szType, mount.type)) {
        return ERR_FORMAT_ERROR;
    }
    read->writable = mount.has_option("ro") ? 0 : 1;
    read->state = is_ext(mount.type) ? read_state(read->szDevice) : int32_t{FS_STATE_CLEAN};
    *info = read.release();
    return 0;
}

}  // namespace morv
