#include <morvsdk/user.h>
#include <stdlib.h>
#include <time.h>

#include <string>

#include "support/outcome.h"
#include "support/scratch.h"
#include "user/users.h"

using namespace testing_support;
using user_test::faked_time;

time_t user_test::faked_time;

extern "C" __attribute__((visibility("default"))) time_t time(time_t *out) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    const time_t answer = faked_time ? faked_time : now.tv_sec;
    if (out) *out = answer;
    return answer;
}

namespace {

TEST(ExpiryDate, IsReadAndPrinted) {
    const struct {
        const char *text;
        int32_t day;
        const char *printed;
    } cases[] = {{"1970/01/01", 0, "1970/1/1"},
                 {"1970/1/2", 1, "1970/1/2"},
                 {"2000/02/29", 11016, "2000/2/29"},
                 {"2038/01/20", 24856, "2038/1/20"},
                 {"9999/12/31", 2932896, "9999/12/31"}};
    for (const auto &c : cases) {
        int32_t day = -7;
        char text[16];
        EXPECT_EQ(MORVUserExpiredDateFill(c.text, &day), 0) << c.text;
        EXPECT_EQ(day, c.day) << c.text;
        EXPECT_EQ(MORVUserExpiredDateGet(c.day, text, sizeof text), 0);
        EXPECT_STREQ(text, c.printed);
    }
    char text[16];
    EXPECT_EQ(MORVUserExpiredDateGet(INT32_MAX, text, sizeof text), 0);
    EXPECT_STREQ(text, "5881580/7/11") << "a day number of any size is a date";
    EXPECT_EQ(MORVUserExpiredDateGet(0, text, 9), 0);
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVUserExpiredDateGet(0, text, 8)));
    EXPECT_TRUE(refuses(-1, MORVUserExpiredDateGet(-1, text, sizeof text)));
}

TEST(ExpiryDate, ThatDoesNotExistIsRefused) {
    for (const char *text :
         {"", "2023/02/29", "1900/01/01", "1969/12/31", "2024/00/10", "2024/13/01", "2024/01/00",
          "2024/04/31", "2024/01", "2024-01-01", "2024/01/01x", "2024/01/01/", " 2024/01/01", "2024/ 1/01",
          "+2024/01/01", "02024/01/01", "2024/001/01", "2024//01", "99999999999999999999/1/1"}) {
        int32_t day = 7;
        EXPECT_TRUE(refuses(-1, MORVUserExpiredDateFill(text, &day))) << text;
        EXPECT_EQ(day, 7);
    }
    EXPECT_TRUE(refuse_nulls(-1, MORVUserExpiredDateFill, MORVUserExpiredDateGet));
}

TEST(Expiry, ComesAtLocalMidnightBehindTheDay) {
    const ScratchRoot root;
    constexpr int32_t winter = 19000, summer = 19180;  // 2022-01-08, 2022-07-07
    const struct {
        const char *zone;
        int32_t day;
        int hours_east;
    } cases[] = {{"UTC0\n", winter, 0},
                 {"CST-8\nsecond line\n", winter, 8},
                 {"CET-1CEST,M3.5.0,M10.5.0/3\n", winter, 1},
                 {"CET-1CEST,M3.5.0,M10.5.0/3\n", summer, 2},
                 {"EST5EDT,M3.2.0,M11.1.0\n", summer, -4},
                 {"XXX-12", summer, -4},  // not whole: the zone stays
                 {nullptr, summer, -4}};
    for (const auto &c : cases) {
        if (c.zone) {
            root.write("etc/TZ", c.zone);
        } else {
            remove(root.path("etc/TZ").c_str());
        }
        const time_t midnight = time_t{c.day + 1} * 86400 - c.hours_east * 3600;
        faked_time = midnight - 1;
        EXPECT_EQ(MORVUserIsExpired(c.day), 0) << c.zone;
        faked_time = midnight;
        EXPECT_EQ(MORVUserIsExpired(c.day), 1) << c.zone;
        EXPECT_EQ(MORVUserIsExpired(MORV_USER_NEVER_EXPIRES), 0);
        EXPECT_EQ(MORVUserIsExpired(INT32_MAX), 0);
    }
    faked_time = 0;
    unsetenv("TZ");
}

}  // namespace
