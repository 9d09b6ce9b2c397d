#include <morvsdk/volume.h>

#include "volume/sort_links.h"

extern "C" VOLUME_MOUNT *MORVMountVolInfoSort(VOLUME_MOUNT *list) noexcept {
    return morv::sort_links(list,
                            [](const VOLUME_MOUNT &a, const VOLUME_MOUNT &b) { return a.number < b.number; });
}
