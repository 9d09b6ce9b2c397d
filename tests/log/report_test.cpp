// The report of the clients that are connected.
#include <gtest/gtest.h>
#include <morvsdk/internal/log.h>
#include <morvsdk/proc.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/outcome.h"
#include "support/refused.h"
#include "support/scratch.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

using Process = int (*)(const char *line, char *report, int size);

// The line of the report; "" for a line that is none of it.
std::string reported(Process process, const std::string &line) {
    char report[256] = "";
    const int made = process(line.c_str(), report, sizeof report);
    EXPECT_EQ(made, *report ? 1 : 0) << line;
    // Not a byte more than it needs.
    const int size = int(strlen(report)) + 1;
    EXPECT_TRUE(made == 0 || gives(-1, ERR_NOT_ENOUGH_MEMORY, process(line.c_str(), report, size - 1)));
    EXPECT_TRUE(made == 0 || gives(1, ERR_SUCCESS, process(line.c_str(), report, size)));
    return report;
}

struct Utc {
    Utc() {
        setenv("TZ", "UTC", 1);
        tzset();
    }
};

TEST(Report, TellsOfASourcesLineWhenWhoFromWhereAndWhat) {
    const Utc zone;
    const struct {
        Process process;
        const char *line;
        const char *report;
    } lines[] = {
        {MORVLogIProcSmb, "77  86400  10.0.0.2  alice  my music\n",
         "1970/01/02 00:00:00\talice\t10.0.0.2\tmy music\t4"},
        {MORVLogIProcSmb, "77   86400  ::1  a b   photos   more   and more",
         "1970/01/02 00:00:00\ta b\t::1\tphotos\t4"},
        {MORVLogIProcSmb, "77  86400  10.0.0.2  al\tice\x1b  photos\n",
         "1970/01/02 00:00:00\tal ice \t10.0.0.2\tphotos\t4"},
        {MORVLogIProcSmb, "77  86400  10.0.0.2  alice\n", ""},
        {MORVLogIProcSmb, "77  today  10.0.0.2  alice  photos\n", ""},
        {MORVLogIProcSmb, "77  99999999999999999999  10.0.0.2  alice  photos\n", ""},
        {MORVLogIProcSmb, "Samba version 4.17.12  1  2  3  4\n", ""},
        {MORVLogIProcApp, "8\t86400\t10.0.0.3\tbob\tattic\n", "1970/01/02 00:00:00\tbob\t10.0.0.3\tattic\t5"},
        {MORVLogIProcApp, "8\t86400\t10.0.0.3\tbob\tattic]\tmore\n",
         "1970/01/02 00:00:00\tbob\t10.0.0.3\tattic\t5"},
        {MORVLogIProcApp, "8\t86400\t10.0.0.3\tbob\n", "1970/01/02 00:00:00\tbob\t10.0.0.3\tApple login\t5"},
        {MORVLogIProcApp, "8\t86400\t10.0.0.3\tbob\t\n",
         "1970/01/02 00:00:00\tbob\t10.0.0.3\tApple login\t5"},
        {MORVLogIProcApp, "8\t86400\t10.0.0.3\n", ""},
        {MORVLogIProcFTP, "9\t86400\t10.0.0.4\tcarol\t/pub\n",
         "1970/01/02 00:00:00\tcarol\t10.0.0.4\t/pub\t7"},
        {MORVLogIProcFTP, "9\t86400\t10.0.0.4\tcarol\n",
         "1970/01/02 00:00:00\tcarol\t10.0.0.4\t@FTP Service\t7"},
        {MORVLogIProcFTP, "9\t86400\t10.0.0.4\tcarol\ta\tb",
         "1970/01/02 00:00:00\tcarol\t10.0.0.4\t@FTP Service\t7"},
        {MORVLogIProcFTP, "9\t-1\t10.0.0.4\tcarol\ta\n", ""},
        {MORVLogIProcFTP, "", ""},
        // As smbd 4.17 writes them, in three zones, and with the clocks of other languages.
        {MORVLogIProcSmb,
         "share        30370   127.0.0.1     Sun Nov 22 01:22:54 2026 UTC     -            -           \n",
         "2026/11/22 01:22:54\t-\t127.0.0.1\tshare\t4"},
        {MORVLogIProcSmb,
         "a quite long name of a share 1235    127.0.0.1     Sun Nov 22 04:55:24 2026 +0330   -            - "
         "  \n",
         "2026/11/22 01:25:24\t-\t127.0.0.1\ta quite long name of a share\t4"},
        {MORVLogIProcSmb,
         "Sun Nov      1237    127.0.0.1     Sun Nov 22 01:25:24 2026 UTC     -            -           \n",
         "2026/11/22 01:25:24\t-\t127.0.0.1\tSun Nov\t4"},
        {MORVLogIProcSmb,
         "share        1234    ::1           Sun Nov 22 01:25:24 2026 UTC     -            -           \n",
         "2026/11/22 01:25:24\t-\t::1\tshare\t4"},
        {MORVLogIProcSmb,
         "IPC$  0:12  192.168.100.200 Sun Nov  2 12:00:31 AM 2026 UTC AES-128-GCM  partial(-)\n",
         "2026/11/02 00:00:31\t-\t192.168.100.200\tIPC$\t4"},
        {MORVLogIProcSmb, "share  12  ::1  Sun 22 Nov 2026 01:22:54 PM GMT  -  -\n",
         "2026/11/22 13:22:54\t-\t::1\tshare\t4"},
        {MORVLogIProcSmb,
         "Service      pid     Machine       Connected at          Encryption   Signing     \n", ""},
        {MORVLogIProcSmb, "---------------------------------------------------------------------\n", ""},
        {MORVLogIProcSmb, "share 12 ::1 Sun Nov 22 25:00:00 2026 UTC - -\n", ""},
        {MORVLogIProcSmb, "share 12 ::1 Sun Nov 22 2026 UTC - -\n", ""},
        {MORVLogIProcSmb, "Sun Nov 22 01:25:24 2026 UTC\n", ""},
    };
    for (const auto &[process, line, report] : lines)
        EXPECT_EQ(reported(process, line), report) << line;
}

// Processes, sources, and a tool that tells of one connection.
struct Appliance : ScratchRoot {
    const Utc zone;

    Appliance() {
        write("proc/7/stat", "7 (afpd) S 1 1\n");
        write("proc/12/stat", "12 (afpd) R 1 1\n");
        write("proc/100/stat", "100 (afpd) Z 1 1\n");
        write("proc/8/stat", "8 (ftpd) S 1 1\n");
        write("proc/9/stat", "9 (not) (ftpd) S 1 1\n");
        write("proc/sys/stat", "1 (afpd) S 1 1\n");
        write(
            "usr/morv/bin/smbstatus",
            "#!/bin/sh\n[ \"$*\" = -S ] && echo 'Service  pid' && echo '5  86400  10.0.0.2  alice  music'\n",
            0755);
        write("tmp/apple/AT_LOG",
              "70\t1\ta\tb\n12\t86401\t10.0.0.3\tbob\n12\t5\tsecond\tline\n7\t86402\t::3\tann\tattic");
        write("var/tmp/ftp_cur_con.log", "8\t86403\t10.0.0.4\tcarol\t/pub\n9\t86403\tnot\tftpd\n");
        path("tmp/lock/x");
    }
    static constexpr char kReport[] =
        "1970/01/02 00:00:00\talice\t10.0.0.2\tmusic\t4\n"
        "1970/01/02 00:00:02\tann\t::3\tattic\t5\n"
        "1970/01/02 00:00:01\tbob\t10.0.0.3\tApple login\t5\n"
        "1970/01/02 00:00:03\tcarol\t10.0.0.4\t/pub\t7\n";

    std::string report(int count = 4) {
        const std::string output = path("report");
        EXPECT_TRUE(gives(count, ERR_SUCCESS,
                          MORVLogGet(MORV_LOG_REPORT, MORV_LOG_CONNECTIONS, MORV_LOG_TO_FILE,
                                     const_cast<char *>(output.c_str()))));
        return read("report");
    }
};

TEST(Report, NamesWhoIsConnectedAndForgetsThoseWhoseServerHasEnded) {
    Appliance appliance;
    EXPECT_EQ(appliance.report(), Appliance::kReport);
    EXPECT_EQ(appliance.read("tmp/apple/AT_LOG"), "7\t86402\t::3\tann\tattic\n12\t86401\t10.0.0.3\tbob\n");
    EXPECT_EQ(appliance.read("var/tmp/ftp_cur_con.log"), "8\t86403\t10.0.0.4\tcarol\t/pub\n");
    EXPECT_EQ(appliance.names("tmp"), (std::vector<std::string>{"apple", "lock"}));
    EXPECT_EQ(appliance.names("tmp/apple"), std::vector<std::string>{"AT_LOG"});

    char *text = nullptr;
    EXPECT_TRUE(gives(4, ERR_SUCCESS, MORVLogGet(2, 1, MORV_LOG_TO_MEMORY, &text)));
    std::string joined = Appliance::kReport;
    std::replace(joined.begin(), joined.end(), '\n', '\t');
    EXPECT_EQ(std::string(text) + "\t", joined);
    free(text);

    // Nobody, and not even a tool to ask.
    for (const char *source : {"tmp/apple/AT_LOG", "var/tmp/ftp_cur_con.log", "usr/morv/bin/smbstatus"})
        unlink(appliance.path(source).c_str());
    EXPECT_EQ(appliance.report(0), "");
    EXPECT_TRUE(gives(0, ERR_SUCCESS, MORVLogGet(2, 1, MORV_LOG_TO_MEMORY, &text)));
    EXPECT_EQ(text, nullptr);
}

TEST(Report, FollowsNothingThatIsPlantedWhereItsTemporariesAre) {
    Appliance appliance;
    const std::string victim = appliance.write("etc/shadow", "secret\n", 0600);
    for (const char *name : {"tmp/smbstatus.tmp", "tmp/apple/AT_LOG_TMP", "var/tmp/ftp_cur_con.log.tmp"})
        ASSERT_EQ(symlink(victim.c_str(), appliance.path(name).c_str()), 0);
    EXPECT_EQ(appliance.report(), Appliance::kReport);
    // A folder, a pipe that nobody writes to, and a link to what is no list.
    ASSERT_EQ(mkdir(appliance.path("tmp/smbstatus.tmp").c_str(), 0755), 0);
    unlink(appliance.path("tmp/apple/AT_LOG").c_str());
    ASSERT_EQ(mkfifo(appliance.path("tmp/apple/AT_LOG").c_str(), 0666), 0);
    unlink(appliance.path("var/tmp/ftp_cur_con.log").c_str());
    ASSERT_EQ(symlink(victim.c_str(), appliance.path("var/tmp/ftp_cur_con.log").c_str()), 0);
    EXPECT_EQ(appliance.report(1), "1970/01/02 00:00:00\talice\t10.0.0.2\tmusic\t4\n");
    EXPECT_EQ(appliance.read("etc/shadow"), "secret\n");
    EXPECT_EQ(mode_of(victim), 0600U);
}

TEST(Report, ASessionListIsTheOldOneOrTheNewOneWhateverFails) {
    Appliance appliance;
    const std::string before = "70\t1\ta\tb\n12\t86401\t" + std::string(500, 'x') + "\tbob\n";
    const std::string after = before.substr(before.find('\n') + 1);
    const std::string path = appliance.path("tmp/apple/AT_LOG");
    const std::string temporary = path + "_TMP";
    const auto run = [&](Sys which, int nth) {
        appliance.write("tmp/apple/AT_LOG", before);
        int done;
        bool reached;
        {
            const SysFault fault(which, nth);
            done = MORVLogICheckLog(path.c_str(), temporary.c_str(), "afpd");
            reached = fault.reached();
        }
        EXPECT_EQ(read_file(path), done == 0 ? after : before) << sys_name(which) << nth;
        EXPECT_TRUE(reached || done == 0);
        EXPECT_NE(MLIBErrGet() == ERR_SUCCESS, done < 0);
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_EQ(appliance.names("tmp/apple").size(), 1U);
        return reached;
    };
    EXPECT_GT(for_each_sys_fault(run), 8);
}

TEST(Report, RefusesWhatItCannotTake) {
    Appliance appliance;
    char text[64];
    int pid;
    MLIBSZLIST *list = nullptr;
    const Refused calls[] = {
        MORVLogGet(1, 1, 0, text),
        MORVLogGet(2, 2, 0, text),
        MORVLogGet(2, 1, 2, text),
        MORVLogGet(2, 1, 0, nullptr),
        MORVLogIGetLineByKey("/f", MORVLogIProcSmb, &list),
        MORVLogIProcSmb("line", text, 0),
        MORVLogIProcApp("line", nullptr, 9),
        MORVLogIProcFTP(nullptr, text, 9),
        MORVLogICheckLog("/tmp/list", "/tmp/other", "afpd"),
        MORVLogICheckLog("/tmp/list", "/tmp/list", "afpd"),
        MORVLogISave2File(nullptr, "/f"),
        MORVLogIWrite2Mem(nullptr, nullptr),
        MLIBPs("", &pid, 1),
        MLIBPs("afpd", &pid, -1),
    };
    EXPECT_EQ(std::size(calls), 14U);
}

TEST(Processes, AreFoundByTheNameThatTheKernelKeeps) {
    Appliance appliance;
    appliance.write("proc/3/stat", "3 (a-name-of-15-by) S 1 1\n");
    int pids[3] = {};
    EXPECT_EQ(MLIBPs("a-name-of-15-bytes-and-more", pids, 3), 1);
    EXPECT_EQ(pids[0], 3);
    EXPECT_EQ(MLIBPs("afpd", pids, 3), 2);
    EXPECT_TRUE(pids[0] == 7 && pids[1] == 12);
    EXPECT_EQ(MLIBPs("afpd", pids, 1), 1);
    EXPECT_EQ(pids[0], 7);
    EXPECT_EQ(MLIBPs("afp", pids, 3), 0);
    std::filesystem::remove_all(appliance.dir() + "/proc");
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBPs("afpd", pids, 3)));
}

}  // namespace
