#include "log/rings.h"

#include <dlfcn.h>
#include <stdarg.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

namespace testing_support {

int64_t clock_seconds;
int64_t waited;
void (*while_waiting)();
std::string logged;

static void keep_line(int priority, const char *format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    try {
        logged += std::to_string(priority) + " " + text + "\n";
    } catch (const std::bad_alloc &) {
        // A fault that was meant for the library.
    }
}

}  // namespace testing_support

using namespace testing_support;

// The library's calls end here; a fortified build has other names for some.
extern "C" {
time_t time(time_t *result) noexcept {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    const time_t seconds = clock_seconds ? time_t(clock_seconds) : now.tv_sec;
    if (result) *result = seconds;
    return seconds;
}

time_t __time64(time_t *result) noexcept {
    return time(result);
}

int usleep(useconds_t microseconds) {
    waited += microseconds;
    if (while_waiting) while_waiting();
    return 0;
}

void syslog(int priority, const char *format, ...) {
    va_list args;
    va_start(args, format);
    keep_line(priority, format, args);
    va_end(args);
}

void __syslog_chk(int priority, int, const char *format, ...) {
    va_list args;
    va_start(args, format);
    keep_line(priority, format, args);
    va_end(args);
}
}
