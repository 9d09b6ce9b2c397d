#include "log/rings.h"

#include <time.h>
#include <unistd.h>

namespace testing_support {

int64_t clock_seconds;
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

int usleep(useconds_t microseconds) {
    waited += microseconds;
    if (while_waiting) while_waiting();
    return 0;
}
}
