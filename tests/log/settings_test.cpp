// Which file and which size a log has.
#include <gtest/gtest.h>
#include <unistd.h>

#include "log/rings.h"
#include "support/process.h"
#include "support/sys_fault.h"

namespace {

using namespace testing_support;

constexpr char kConf[] =
    "syslogfile\t=\t\"/var/log/morvsys.log\"\nsyslogfilesize_MAX\t=\t\"65536\"\n"
    "manlogfile\t=\t\"/var/log/morvman1.log\"\nmanlogfilesize_MAX\t=\t\"65536\"\n"
    "connlogfile\t=\t\"/var/log/morvconn.log\"\nconnlogfilesize_MAX\t=\t\"65536\"\n"
    "bkplogfile\t=\t\"/var/log/morvbackup.log\"\nbkplogfilesize_MAX\t=\t\"65536\"\n"
    "copylogfile\t=\t\"/var/log/morvcopy.log\"\ncopylogfilesize_MAX\t=\t\"65536\"\n"
    "netbkplogfile\t=\t\"/var/log/morvnetbkp.log\"\nnetbkplogfilesize_MAX\t=\t\"65536\"\n"
    "surlogfile\t=\t\"/var/log/morvsur.log\"\nsurlogfilesize_MAX\t=\t\"65536\"\n";

int set_log(int log, const char *argument = "text") {
    return MORVLogSet1(log, MORV_LOG_INFO, MORV_EVENT_USER_ADDED, argument, nullptr, "", nullptr);
}

class LogSettings : public testing::Test {
  protected:
    LogSettings() {
        root_.path("etc/x");
        root_.path("var/log/x");
    }
    const ScratchRoot root_;
};

TEST_F(LogSettings, AreMadeWithTheFirstEventWhichStillHasTheDefaultSizeOfItsLog) {
    const struct {
        int log;
        const char *file;
        int size;
    } logs[] = {
        {MORV_LOG_SYSTEM, "morvsys.log", 131072},      {MORV_LOG_ADMIN, "morvsys.log", 131072},
        {MORV_LOG_CONNECTION, "morvconn.log", 65536},  {MORV_LOG_BACKUP, "morvbackup.log", 65536},
        {MORV_LOG_COPY, "morvcopy.log", 65536},        {MORV_LOG_NETBACKUP, "morvnetbkp.log", 65536},
        {MORV_LOG_SURVEILLANCE, "morvsur.log", 65536},
    };
    for (const auto &log : logs) {
        const ScratchRoot root;
        root.path("etc/x");
        root.path("var/log/x");
        EXPECT_EQ(set_log(log.log), 0);
        EXPECT_EQ(glogsizeMax, log.size);
        EXPECT_EQ(root.names("var/log"), std::vector<std::string>{log.file});
        EXPECT_EQ(root.read("etc/morvlog.conf"), kConf);
        logged.clear();
        EXPECT_EQ(set_log(log.log), 0);
        EXPECT_EQ(glogsizeMax, 65536);
        EXPECT_EQ(logged, log.log < 3 ? "" : "6 MORV : log file /etc/morvlog.conf opened\n");
    }
}

TEST_F(LogSettings, DecideTheFileAndTheSizeWhereTheyCanBeUsed) {
    const std::string longest(31, 'x');
    const struct {
        const char *settings;
        const char *file;
        int size;
    } cases[] = {
        {"", "var/log/morvsys.log", 131072},
        {"syslogfile=/var/log/other\nsyslogfilesize_MAX=4096\n", "var/log/other", 4096},
        {"syslogfile=\"/var/log/2345678901234567890123\"\n", "var/log/2345678901234567890123", 131072},
        {"syslogfile=\"/var/log/23456789012345678901234\"\n", "var/log/morvsys.log", 131072},
        {"syslogfile=other\n", "var/log/morvsys.log", 131072},
        {"syslogfile=/var/../other\n", "var/log/morvsys.log", 131072},
        {"syslogfilesize_MAX=0\n", "var/log/morvsys.log", 131072},
        {"syslogfilesize_MAX=-5\n", "var/log/morvsys.log", 131072},
        {"syslogfilesize_MAX=many\n", "var/log/morvsys.log", 131072},
        {"syslogfilesize_MAX=00000004096\n", "var/log/morvsys.log", 131072},
        {"syslogfilesize_MAX=4294967295\n", "var/log/morvsys.log", 131072},
        {"manlogfile=/var/log/other\nmanlogfilesize_MAX=4096\n", "var/log/morvsys.log", 131072},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.settings);
        root_.write("etc/morvlog.conf", test.settings);
        EXPECT_EQ(set_log(MORV_LOG_ADMIN), 0);
        EXPECT_EQ(glogsizeMax, test.size);
        EXPECT_EQ(unlink(root_.path(test.file).c_str()), 0);
        char path[32];
        int size;
        EXPECT_EQ(MORVLogPathGet(MORV_LOG_SYSTEM, MORV_LOG_FOR_READING, path, sizeof path, &size), 0);
        EXPECT_EQ(path, std::string("/") + test.file);
        EXPECT_EQ(size, test.size);
    }
}

TEST_F(LogSettings, ThatCouldNotBeReadOnceAreReadTheNextTime) {
    root_.write("etc/morvlog.conf", "syslogfilesize_MAX=4096\n");
    clock_ahead = 10;  // so that they would be kept
    const auto size = [] {
        char path[32];
        int most = 0;
        EXPECT_EQ(MORVLogPathGet(MORV_LOG_SYSTEM, MORV_LOG_FOR_WRITING, path, sizeof path, &most), 0);
        return most;
    };
    {
        const SysFault fault(Sys::kOpen, 1);
        EXPECT_EQ(size(), 131072);
        EXPECT_TRUE(fault.reached());
    }
    EXPECT_EQ(size(), 4096);
    clock_ahead = 0;
}

TEST_F(LogSettings, OfASmallerSizeDropTheOldestEventsAndTheDefaultDropsNone) {
    const std::string path = root_.path("var/log/morvsys.log");
    root_.write("etc/morvlog.conf", "");
    for (int i = 0; i < 2200; ++i)
        ASSERT_EQ(MORVLogSet1a(path.c_str(), 1, 1, std::to_string(i).c_str(), nullptr, nullptr, nullptr), 0);
    const std::string larger = root_.read("var/log/morvsys.log");
    glogsizeMax = 1 << 20;
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(MORVLogSet1a(path.c_str(), 1, 1, std::to_string(i).c_str(), nullptr, nullptr, nullptr), 0);
    ASSERT_GT(stat_of(path).st_size, 131072);
    const off_t before = stat_of(path).st_size;
    EXPECT_EQ(set_log(MORV_LOG_SYSTEM), 0);
    EXPECT_LE(stat_of(path).st_size, before);
    EXPECT_GT(stat_of(path).st_size, 131072);

    root_.write("etc/morvlog.conf", "syslogfilesize_MAX=4096\n");
    EXPECT_EQ(set_log(MORV_LOG_SYSTEM, "newest"), 0);
    EXPECT_LE(stat_of(path).st_size, 4096);
    EXPECT_EQ(texts_of(path).back(), "newest");
    EXPECT_GT(texts_of(path).size(), 40U);
}

TEST_F(LogSettings, MakeALogSmallerOnceHoweverManyProcessesFindItTooLarge) {
    const std::string path = root_.path("var/log/morvsys.log");
    glogsizeMax = 1 << 20;
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(set(path, std::to_string(i)), 0);
    constexpr int kSize = 20000;
    root_.write("etc/morvlog.conf", "syslogfilesize_MAX=" + std::to_string(kSize) + "\n");
    std::vector<pid_t> children;
    for (int i = 0; i < 8; ++i) {
        children.push_back(fork());
        if (children.back() != 0) continue;
        while_waiting = [] { sched_yield(); };
        _exit(set_log(MORV_LOG_SYSTEM, "late") != 0);
    }
    for (const pid_t child : children)
        EXPECT_EQ(wait_for(child), 0);
    EXPECT_LE(stat_of(path).st_size, kSize);
    EXPECT_GT(stat_of(path).st_size, kSize - 1000);
    EXPECT_EQ(texts_of(path).back(), "late");
    EXPECT_EQ(root_.names("var/log"), std::vector<std::string>{"morvsys.log"});
}

TEST_F(LogSettings, KeepEmptyArgumentsAsABlankAndMissingOnesAsNothing) {
    ASSERT_EQ(set_log(MORV_LOG_SYSTEM, ""), 0);
    MORVLogEnum(
        root_.path("var/log/morvsys.log").c_str(),
        [](const MORV_LOG_EVENT *event, void *) {
            EXPECT_STREQ(event->szArgument[0], " ");
            EXPECT_STREQ(event->szArgument[1], "");
            EXPECT_STREQ(event->szArgument[2], " ");
            EXPECT_STREQ(event->szArgument[3], "");
            return 0;
        },
        nullptr, nullptr);
}

TEST_F(LogSettings, RefuseLogsThatThereAreNot) {
    for (const int log : {-1, 0, 4, 9, 100}) {
        logged.clear();
        EXPECT_EQ(set_log(log), -1);
        EXPECT_EQ(logged, log == 4 ? "" : "3 logclass error!\n");
        EXPECT_EQ(MORVLogGet1(log, nullptr, nullptr), -1);
        char path[32];
        EXPECT_TRUE(refuses(-1, MORVLogPathGet(log, MORV_LOG_FOR_WRITING, path, sizeof path, nullptr)));
    }
    char path[20];
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVLogPathGet(1, 0, path, sizeof path, nullptr)));
    ASSERT_EQ(rmdir(root_.path("etc").c_str()), 0);
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, set_log(MORV_LOG_SYSTEM)));
    EXPECT_EQ(root_.names("var/log"), std::vector<std::string>{});
}

TEST_F(LogSettings, TakeASizeForTheLogsThatHaveAKey) {
    logged.clear();
    EXPECT_EQ(MORVLogSetSize(4096, MORV_LOG_ADMIN), 0);
    EXPECT_EQ(logged, "6 logconf file not exist! created one!\n");
    EXPECT_NE(root_.read("etc/morvlog.conf").find("manlogfilesize_MAX\t=\t\"4096\"\n"), std::string::npos);
    for (const int log : {1, 2, 3, 5, 6})
        EXPECT_EQ(MORVLogSetSize(8192, log), 0);
    const std::string settings = root_.read("etc/morvlog.conf");
    for (const int log : {-1, 0, 4, 7, 8, 9})
        EXPECT_EQ(MORVLogSetSize(8192, log), -1) << log;
    for (const int size : {-1, 0, 16, MORV_LOG_SIZE_MIN - 1})
        EXPECT_EQ(MORVLogSetSize(size, 1), -1) << size;
    EXPECT_EQ(root_.read("etc/morvlog.conf"), settings);

    // Each log is made smaller, the administration log where it is read.
    const std::string path = root_.path("var/log/morvman1.log");
    glogsizeMax = 8192;
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(set(path, std::to_string(i)), 0);
    EXPECT_EQ(MORVLogSetSize(1000, MORV_LOG_ADMIN), 0);
    EXPECT_LE(stat_of(path).st_size, 1000);
    EXPECT_EQ(texts_of(path).back(), "199");
}

TEST_F(LogSettings, LeaveOutLongRecordsWhenALogIsMadeSmaller) {
    const std::string path = root_.path("log");
    const std::string longer(256, 'x');
    const auto fill = [&](int most, int count) {
        unlink(path.c_str());
        glogsizeMax = most;
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(set(path, i % 4 == 3 ? longer + std::to_string(i) : std::to_string(i)), 0);
    };
    // Not wrapped: the copy ends at the first long one behind the bytes that go.
    fill(100000, 8);
    ASSERT_EQ(MORVLogChangeSize_a(1, path.c_str()), 0);
    EXPECT_EQ(texts_of(path), (std::vector<std::string>{"1", "2"}));
    fill(2000, 40);
    std::vector<std::string> kept = texts_of(path);
    ASSERT_EQ(MORVLogChangeSize_a(1, path.c_str()), 0);
    kept.erase(kept.begin());
    std::erase_if(kept, [](const std::string &text) { return text.size() > 200; });
    EXPECT_EQ(texts_of(path), kept);
}

}  // namespace
