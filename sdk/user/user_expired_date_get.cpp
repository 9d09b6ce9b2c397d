#include <morvsdk/user.h>
#include <stdio.h>
#include <string.h>

#include <chrono>

#include "core/base/fail.h"

extern "C" int MORVUserExpiredDateGet(int32_t day, char *buffer, int size) noexcept {
    using namespace std::chrono;
    if (day < 0 || !buffer || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    // The calendar repeats every 400 years, and its years are of 16 bits here.
    constexpr int32_t kCycle = 146097;
    const year_month_day date(sys_days(days(day % kCycle)));
    char text[32];
    const int length = snprintf(text, sizeof text, "%d/%d/%d", int(date.year()) + day / kCycle * 400,
                                int(unsigned(date.month())), int(unsigned(date.day())));
    if (length >= size) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    memcpy(buffer, text, size_t(length) + 1);
    return 0;
}
