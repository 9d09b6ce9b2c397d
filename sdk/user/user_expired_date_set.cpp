#include <morvsdk/user.h>

#include <chrono>
#include <string_view>

#include "core/base/fail.h"
#include "core/base/log.h"

// Cuts a number of at most `most` digits and what ends it (0: the end of the text) off `text`; -1 when
// there is none.
static int take_number(std::string_view &text, size_t most, char end) noexcept {
    int number = 0;
    size_t at = 0;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        if (at == most) return -1;
        number = number * 10 + (text[at] - '0');
    }
    if (at == 0 || (end ? at == text.size() || text[at] != end : at != text.size())) return -1;
    text.remove_prefix(at + (end != 0));
    return number;
}

// The day number; below 0 when there is no such date, or one that an account cannot expire on.
static int32_t day_of(std::string_view text) noexcept {
    using namespace std::chrono;
    const int y = take_number(text, 4, '/');
    const int m = y < 0 ? -1 : take_number(text, 2, '/');
    const int d = m < 0 ? -1 : take_number(text, 2, '\0');
    if (d < 0) return -1;
    const year_month_day date{year(y), month(unsigned(m)), day(unsigned(d))};
    return date.ok() ? int32_t(sys_days(date).time_since_epoch().count()) : -1;
}

extern "C" int MORVUserExpiredDateFill(const char *text, int32_t *pDay) noexcept {
    if (!text || !pDay) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int32_t day = day_of(text);
    if (day < 0) {
        MORV_LOG(LOG_ERR, "Invalid date [%s], the form is yyyy/mm/dd", text);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    *pDay = day;
    return 0;
}
