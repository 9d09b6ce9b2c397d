#include <morvsdk/user.h>
#include <time.h>

#include "core/system/time_zone.h"

extern "C" int MORVUserIsExpired(int32_t expireDay) noexcept {
    if (expireDay < 0) return 0;
    morv::take_time_zone();
    const time_t now = time(nullptr);
    struct tm local;
    if (!localtime_r(&now, &local)) return 0;
    // The offset in effect now, daylight saving included, whatever that is in the zone.
    const int64_t midnight = (int64_t{expireDay} + 1) * 86400 - local.tm_gmtoff;
    return now >= midnight;
}
