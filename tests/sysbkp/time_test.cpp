// The block of time: time server, time zone and clock.
#include <morvsdk/file.h>
#include <morvsdk/internal/sysbkp.h>
#include <stdlib.h>
#include <time.h>

#include "support/backup_file.h"
#include "support/fake_syslog.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

constexpr time_t kNow = 1304512496;  // 2011/05/04 12:34:56 UTC
time_t fake_now, clock_set;
int clock_errno;

// The library's clock, for the time of a test.
struct Clock {
    explicit Clock(time_t now) {
        fake_now = now;
        clock_set = 0;
        clock_errno = 0;
    }
    ~Clock() {
        fake_now = 0;
        unsetenv("TZ");
        tzset();
    }
};

constexpr char kZone[] = "etc/TZ";
constexpr char kMain[] = "etc/morvinfo.conf";

struct TimeRoot : ScratchRoot {
    TimeRoot() {
        path("etc/x");
        path("tmp/x");
    }
};

std::vector<Part> items(const std::string &at, const std::string &zone, int runs_ntp = 0) {
    return {at, runs_ntp, "daily", "time.lan", "time2.lan", zone, 1};
}

int import_time(const std::string &at, const std::string &zone, int runs_ntp = 0) {
    return imported(MORVSysbkpTimeImport, body_of(items(at, zone, runs_ntp)));
}

TEST(TimeBlock, HasTheLocalTimeTheSettingsAndTheZone) {
    const Clock clock(kNow);
    const TimeRoot root;
    setenv("TZ", "UTC0", 1);
    EXPECT_EQ(exported(MORVSysbkpTimeExport), block_of(1, {"2011/05/04 12:34:56", 0, "", "", "", "", 0}));
    root.write(kZone, "CET-1CEST,M3.5.0,M10.5.0/3\n");
    root.write(kMain,
               "runntp=yes\nntpperiod=\"daily\"\nntpserver=\"time.lan\"\nntpserver2=\"time2.lan\"\n"
               "daylightsaving=\"yes\"\n");
    EXPECT_EQ(exported(MORVSysbkpTimeExport),
              block_of(1, items("2011/05/04 14:34:56", "CET-1CEST,M3.5.0,M10.5.0/3", 1)));
    // What is not whole, or would not be restored, is none.
    for (const char *odd : {"XYZ-5", "XYZ-5\nUTC0\n", "\n", ""}) {
        root.write(kZone, odd);
        EXPECT_NE(exported(MORVSysbkpTimeExport).find(Part("").bytes + Part(1).bytes), std::string::npos)
            << odd;
    }
}

TEST(TimeBlock, IsRestoredWithTheZone) {
    const Clock clock(kNow);
    const TimeRoot root;
    EXPECT_EQ(import_time("2011/05/04 12:34:56", "JST-9"), 0);
    EXPECT_EQ(root.read(kZone), "JST-9\n");
    EXPECT_EQ(mode_of(root.path(kZone)), 0644U);
    EXPECT_EQ(
        root.read(kMain),
        "ntpperiod=\"daily\"\nntpserver=\"time.lan\"\nntpserver2=\"time2.lan\"\ndaylightsaving=\"yes\"\n");
    const ino_t zone = stat_of(root.path(kZone)).st_ino, settings = stat_of(root.path(kMain)).st_ino;
    EXPECT_EQ(import_time("2011/05/04 12:34:56", "JST-9"), 0);
    EXPECT_EQ(import_time("2011/05/04 12:34:56", ""), 0);
    EXPECT_EQ(stat_of(root.path(kZone)).st_ino, zone);
    EXPECT_EQ(stat_of(root.path(kMain)).st_ino, settings);
    EXPECT_EQ(import_time("2011/05/04 12:34:56", std::string(127, 'x')), 0);
    EXPECT_EQ(root.read(kZone), std::string(127, 'x') + "\n");
    EXPECT_EQ(exported(MORVSysbkpTimeExport).find(std::string(127, 'x')) != std::string::npos, true);
}

TEST(TimeBlock, WithAnythingWrongChangesNothing) {
    const Clock clock(kNow);
    const TimeRoot root;
    for (const char *at :
         {"", "2011/05/04", "2011/05/04 12:34:56 ", " 011/05/04 12:34:56", "2011-05-04 12:34:56",
          "2011/00/04 12:34:56", "2011/13/04 12:34:56", "2011/02/29 12:34:56", "1900/02/29 12:34:56",
          "2011/04/31 12:34:56", "2011/05/00 12:34:56", "2011/05/04 24:00:00", "2011/05/04 12:60:00",
          "2011/05/04 12:34:61", "2011/05/04 12:34:5x"})
        EXPECT_EQ(import_time(at, "JST-9"), -1) << at;
    for (const std::string &zone :
         {std::string("JST-9\nevil"), std::string("JST\x7F"), std::string(128, 'x'), std::string("/tmp/pipe"),
          std::string(":/dev/tty"), std::string("Europe/../../../tmp/pipe")})
        EXPECT_EQ(import_time("2011/05/04 12:34:56", zone), -1) << zone;
    std::vector<Part> odd = items("2011/05/04 12:34:56", "JST-9");
    odd[3] = "a\"b";
    EXPECT_EQ(imported(MORVSysbkpTimeImport, body_of(odd)), -1);
    EXPECT_EQ(root.names("etc").size(), 0U);
    EXPECT_EQ(import_time("2012/02/29 23:59:60", "JST-9"), 0);

    // A zone that cannot be written keeps the settings as they are as well.
    const TimeRoot other;
    mkdir(other.path(kZone).c_str(), 0755);
    EXPECT_EQ(import_time("2011/05/04 12:34:56", "JST-9"), -1);
    EXPECT_EQ(other.names("etc"), std::vector<std::string>{"TZ"});
}

// Without a system root there is no scratch file to write: the settings and zone of the block are those that
// a bare machine has, and nothing is written.
int import_on_this_machine(const char *at, int runs_ntp) {
    return imported(MORVSysbkpTimeImport, body_of({at, runs_ntp, "", "", "", "", 0}));
}

TEST(TimeBlock, SetsAClockForwardThatIsBehindIt) {
    if (access("/etc/morvinfo.conf", F_OK) == 0 || access("/etc/TZ", F_OK) == 0)
        GTEST_SKIP() << "this machine is an appliance";
    const struct {
        const char *at;
        time_t set;
    } cases[] = {{"2011/05/04 12:34:57", kNow + 1}, {"2011/05/04 12:34:56", 0}, {"2000/01/01 00:00:00", 0}};
    for (const auto &c : cases) {
        const Clock clock(kNow);
        setenv("TZ", "UTC0", 1);
        {
            const TimeRoot root;
            EXPECT_EQ(import_time(c.at, ""), 0) << c.at;
            EXPECT_EQ(clock_set, 0) << "with a system root";
        }
        MORVSysRootSet("");
        EXPECT_EQ(import_on_this_machine(c.at, 0), 0) << c.at;
        EXPECT_EQ(clock_set, c.set) << c.at;
    }
    const Clock clock(kNow);
    setenv("TZ", "UTC0", 1);
    clock_errno = EPERM;
    logged.clear();
    EXPECT_EQ(import_on_this_machine("2038/01/01 00:00:00", 0), 0);
    EXPECT_NE(logged.find("cannot be set: Operation not permitted"), std::string::npos) << logged;
}

}  // namespace

extern "C" {
time_t time(time_t *result) noexcept {
    timespec real;
    clock_gettime(CLOCK_REALTIME, &real);
    const time_t now = fake_now ? fake_now : real.tv_sec;
    if (result) *result = now;
    return now;
}

int clock_settime(clockid_t, const timespec *to) noexcept {
    errno = clock_errno;
    if (clock_errno) return -1;
    clock_set = to->tv_sec;
    return 0;
}
}
