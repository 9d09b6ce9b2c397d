#include <morvsdk/volume.h>

#include <string_view>

#include "core/base/fail.h"
#include "core/base/log.h"

namespace {

bool counts(std::string_view path, int location) noexcept {
    constexpr std::string_view kInternal = "/volume", kExpansion = "/volumeX";
    if (location == VOLUME_EXPANSION) return path.starts_with(kExpansion);
    return location == 0 || (path.starts_with(kInternal) && path.size() > kInternal.size() &&
                             path[kInternal.size()] >= '0' && path[kInternal.size()] <= '9');
}

}  // namespace

extern "C" int VolumeCount(const VOLUME_INFO_LIST *list, int location) noexcept {
    if (location != 0 && location != VOLUME_INTERNAL && location != VOLUME_EXPANSION)
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Unsupport volume location type: %d",
                             location);
    int count = 0;
    for (; list; list = list->pNext)
        count += list->pInfo && counts(list->pInfo->szPath, location);
    return count;
}
