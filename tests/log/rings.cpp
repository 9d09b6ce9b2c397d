#include "log/rings.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace testing_support {

int64_t clock_seconds;
int64_t clock_ahead;
int64_t waited;
void (*while_waiting)();

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

int clock_gettime(clockid_t clock, timespec *now) noexcept {
#ifdef SYS_clock_gettime64
    const int result = int(syscall(SYS_clock_gettime64, clock, now));
#else
    const int result = int(syscall(SYS_clock_gettime, clock, now));
#endif
    if (result == 0 && clock == CLOCK_REALTIME) now->tv_sec += time_t(clock_ahead);
    return result;
}

int usleep(useconds_t microseconds) {
    waited += microseconds;
    if (while_waiting) while_waiting();
    return 0;
}
}
