#include <morvsdk/volume.h>

#include <tuple>

#include "volume/sort_links.h"

extern "C" VOLUME_INFO_LIST *VolumeInfoListSort(VOLUME_INFO_LIST *list) noexcept {
    return morv::sort_links(list, [](const VOLUME_INFO_LIST &a, const VOLUME_INFO_LIST &b) {
        if (!a.pInfo || !b.pInfo) return a.pInfo && !b.pInfo;  // those without a record come last
        return std::tie(a.pInfo->location, a.pInfo->number) < std::tie(b.pInfo->location, b.pInfo->number);
    });
}
