#include "core/system/time_zone.h"

#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "core/base/guard.h"
#include "core/file/sys_path.h"

namespace morv {

bool read_time_zone(char (&zone)[kTimeZoneMost + 1]) noexcept {
    const UniqueFd fd(open(SysPath("/etc/TZ").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) return false;
    char text[sizeof zone];
    const ssize_t length = read(fd.get(), text, sizeof text);
    if (length <= 0 || text[length - 1] != '\n') return false;
    text[length - 1] = '\0';
    memcpy(zone, text, static_cast<size_t>(length));
    return true;
}

void take_time_zone() noexcept {
    char zone[kTimeZoneMost + 1];
    if (read_time_zone(zone)) setenv("TZ", zone, 1);
    tzset();
}

}  // namespace morv
