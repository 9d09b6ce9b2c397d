// "/proc/mounts" and "/etc/fstab" with whatever in them, below a line with a mount point: all that is
// listed can be looked up, and only the lines of the mount point go.
#include <morvsdk/error.h>
#include <morvsdk/fs.h>
#include <morvsdk/volume.h>
#include <stddef.h>
#include <string.h>

#include "core/storage/fstab.h"
#include "input.h"

namespace {

void look_up(const char *path) {
    FS_INFO *info = nullptr;
    const int found = FSInfoGet(path, &info);
    expect(found == 1 || (found == -1 && MLIBErrGet() == ERR_FORMAT_ERROR));
    if (found != 1) return;
    expect(strcmp(info->szMountPoint, path) == 0 && strlen(info->szDevice) < sizeof info->szDevice);
    FSInfoFree(info);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const MemoryRoot root({"/proc"});
    std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string point = take_line(text);
    root.write("/proc/mounts", text);

    MLIBSZLIST *list = PslMLIBSzListAlloc(512);
    expect(FSPathEnum(&list) == 0);
    for (int i = 0; i < list->nItem; ++i)
        look_up(list->pszItem[i]);
    MLIBSzListFree(list);

    VOLUME_MOUNT *mounts = nullptr;
    int count = MORVMountVolAllEnum(&mounts);
    expect(count >= 0);
    for (const VOLUME_MOUNT *mount = mounts; mount; mount = mount->pNext, --count) {
        VOLUME_MOUNT again;
        expect(MORVMountVolInfoGet(mount->szMountPoint, &again) == 0 && again.mounted == 1);
        expect(strcmp(mount->szDevice, again.szDevice) == 0);
    }
    expect(count == 0);
    MORVMountVolInfoFree(mounts);

    std::string rest, again;
    morv::remove_mount_point(text, point, rest);
    morv::remove_mount_point(rest, point, again);
    expect(rest == again);
    // A slash at the end says nothing.
    const bool has_none =
        point.empty() || point.ends_with('/') || point.find_first_of(" \t\r\\") != point.npos;
    if (!has_none && text.find(point) == text.npos && text.find('\\') == text.npos) expect(rest == text);
    return 0;
}
