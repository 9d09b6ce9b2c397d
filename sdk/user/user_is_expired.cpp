#include <fcntl.h>
#include <morvsdk/user.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/file/sys_path.h"

// Makes the text of "/etc/TZ" the time zone of the process. One that does not end in a line feed is not
// whole, and the zone stays.
static void take_time_zone() noexcept {
    const morv::UniqueFd fd(open(morv::SysPath("/etc/TZ").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (fd) {
        char zone[128];
        const ssize_t length = read(fd.get(), zone, sizeof zone);
        if (length > 0 && zone[length - 1] == '\n') {
            zone[length - 1] = '\0';
            setenv("TZ", zone, 1);
        }
    }
    tzset();
}

extern "C" int MORVUserIsExpired(int32_t expireDay) noexcept {
    if (expireDay < 0) return 0;
    take_time_zone();
    const time_t now = time(nullptr);
    struct tm local;
    if (!localtime_r(&now, &local)) return 0;
    // The offset in effect now, daylight saving included, whatever that is in the zone.
    const int64_t midnight = (int64_t{expireDay} + 1) * 86400 - local.tm_gmtoff;
    return now >= midnight;
}
