// What an import does besides restoring: the marker, the services, the log, and what it does not read.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/internal/sysbkp.h>
#include <morvsdk/log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "support/backup_file.h"
#include "support/fake_syslog.h"
#include "support/process.h"
#include "support/scratch.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

constexpr int kAll = MORV_SYSBKP_ALL | MORV_SYSBKP_MYSQL;
constexpr char kMarker[] = "tmp/importprocess";

class ImportTest : public testing::Test {
  protected:
    ImportTest() {
        for (const char *folder : {"tmp/x", "var/log/x", "usr/morv/etc/rc.d/x"})
            root.write(folder, "");
        // Services say what was done to them, the management too, which must not be touched.
        for (const char *script : {"S10web", "S20afp.sh", "S30management"}) {
            root.write(std::string("usr/morv/etc/rc.d/") + script,
                       "#!/bin/sh\necho " + std::string(script) + " $1 >> " + root.path("calls") + "\n",
                       0755);
        }
        root.write("etc.defaults/morvinfo.conf", "supportweb=\"yes\"\nsupportmysql=\"yes\"\n");
        root.write("etc/morvinfo.conf", "runweb=\"no\"\n");
        root.write("etc/sysconfig/network", "HOSTNAME=old\n");
        root.write("etc/hosts", "127.0.0.1 localhost\n");
    }

    int import(const std::string &content, int mask = kAll, int option = 0) {
        root.write("calls", "");
        events.clear();
        logged.clear();
        const std::string file = root.write("backup", content, 0600);
        return MORVSysbkpImportReport(file.c_str(), mask, option, on_event, this);
    }

    static void on_event(const MORVSYSBKPEVENT *event, void *context) {
        static constexpr const char *kWhat[] = {"", "begins", "done", "failed", "skipped", "problem", "note"};
        auto &test = *static_cast<ImportTest *>(context);
        const char *const name = MORVSysbkpName(event->id);
        test.events += std::string(name ? name : "-") + " " + kWhat[event->what];
        test.events += (*event->szText ? ": " : "") + std::string(event->szText) + "\n";
    }

    // Every import ends so.
    void expect_tidy() {
        EXPECT_FALSE(std::filesystem::exists(root.path(kMarker)));
        EXPECT_EQ(gpshUser, nullptr);
    }

    std::string web() { return root.read("etc/morvinfo.conf"); }
    std::string host() { return root.read("etc/sysconfig/network"); }

    const std::string kStops = "S20afp.sh stop\nS10web stop\n";
    const std::string kStarts = "S10web start\nS20afp.sh start\n";
    const std::string kHost = block(0x2, text("box"));
    const std::string kWeb = block(0x10000, number(1));
    ScratchRoot root;
    std::string events;
};

TEST_F(ImportTest, RestoresWhatIsInTheMaskAndTellsIt) {
    EXPECT_EQ(import(backup(kHost + kWeb)), 0);
    EXPECT_EQ(events, "hostname begins\nhostname done\nweb begins\nweb done\n");
    EXPECT_EQ(host(), "HOSTNAME=box\n");
    EXPECT_EQ(web(), "runweb=\"yes\"\n");
    EXPECT_EQ(gimp_status, MORV_SYSBKP_ALL);
    EXPECT_EQ(root.read("calls"), kStops + kStarts);
    expect_tidy();

    EXPECT_EQ(import(backup(block(0x2, text("nas")) + block(0x10000, number(0))), MORV_SYSBKP_WEB), 0);
    EXPECT_EQ(events, "hostname skipped\nweb begins\nweb done\n");
    EXPECT_EQ(host(), "HOSTNAME=box\n");
    EXPECT_EQ(web(), "runweb=\"no\"\n");
}

TEST_F(ImportTest, AFailingBlockIsToldAndTheOthersAreRestored) {
    EXPECT_EQ(import(backup(block(0x2, text("no host name")) + kWeb)), -1);
    EXPECT_EQ(gimp_status, MORV_SYSBKP_ALL & ~MORV_SYSBKP_HOSTNAME);
    EXPECT_NE(events.find("hostname failed\nweb begins\nweb done\n"), std::string::npos) << events;
    EXPECT_NE(events.find("hostname problem: "), std::string::npos) << events;
    EXPECT_NE(logged.find("Failed to restore hostname_desc\n"), std::string::npos);
    EXPECT_EQ(web(), "runweb=\"yes\"\n");
    EXPECT_EQ(root.read("calls"), kStops + kStarts);
    expect_tidy();

    // The bit of MySQL's settings is none of those that a success is told by.
    EXPECT_EQ(import(backup(block(0x800000, text("x")))), 0);
    EXPECT_NE(events.find("mysql failed\n"), std::string::npos);
    EXPECT_EQ(import(backup(block(0x800000, text("x"))), MORV_SYSBKP_ALL), 0);
    EXPECT_EQ(events, "mysql skipped\n");
}

TEST_F(ImportTest, ALongerBlockLeavesNothingForTheNext) {
    // If it did, there would be more behind the last item.
    EXPECT_EQ(import(backup(block(0x2, text(std::string(3000, 'x'))) + kWeb)), -1);
    EXPECT_EQ(web(), "runweb=\"yes\"\n");
    EXPECT_EQ(import(backup(kHost + kHost + kWeb + kHost)), 0);
}

TEST_F(ImportTest, NothingIsReadBehindWhatCannotBeUnderstood) {
    const std::string_view unknown = "unknown command [4]";
    EXPECT_EQ(import(backup(block(0x4, text("x")) + kHost)), -1);
    EXPECT_NE(logged.find(unknown), std::string::npos);
    const std::string cut_off[] = {
        be32(0x10000) + be32(7) + be32(13) + number(1),                 // one byte is missing
        be32(0x10000) + be32(7) + be32(-1) + number(1) + kHost,         // a size below zero
        be32(0x10000) + be32(7) + be32(INT32_MAX) + number(1) + kHost,  // more than there is
        be32(0x10000) + be32(7) + be32(1024 + 12) + number(1),          // the first piece
    };
    for (const int mask : {kAll, kAll & ~MORV_SYSBKP_WEB}) {
        for (const std::string &blocks : cut_off) {
            EXPECT_EQ(import(backup(blocks), mask), -1);
            EXPECT_EQ(host(), "HOSTNAME=old\n");
            EXPECT_EQ(web(), "runweb=\"no\"\n");
            EXPECT_EQ(root.read("calls"), kStops + kStarts);
            expect_tidy();
        }
    }
    // A header that is cut off is the end of the file.
    EXPECT_EQ(import(backup(kHost + kWeb.substr(0, 11))), 0);
}

TEST_F(ImportTest, WhatIsNoBackupFileChangesNothing) {
    for (const std::string &content : {std::string("MOR"), std::string("MORX") + be32(1) + be32(2) + kHost}) {
        EXPECT_EQ(import(content), -1);
        EXPECT_EQ(root.read("calls"), "");
        EXPECT_NE(events.find("this is no backup file"), std::string::npos);
        expect_tidy();
    }
    // From here on the services have been stopped.
    for (const std::string &content :
         {"MORV" + be32(2) + be32(2) + kHost, std::string("MORV"), "MORV" + be32(1)}) {
        EXPECT_EQ(import(content), -1);
        EXPECT_EQ(root.read("calls"), kStops + kStarts);
        EXPECT_EQ(host(), "HOSTNAME=old\n");
        expect_tidy();
    }
    EXPECT_EQ(MORVSysbkpImport(nullptr, kAll, 0), -1);
    EXPECT_EQ(MORVSysbkpImport(root.path("none").c_str(), kAll, 0), -1);
    ASSERT_EQ(mkfifo(root.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(MORVSysbkpImport(root.path("pipe").c_str(), kAll, 0), -1);
    expect_tidy();
}

TEST_F(ImportTest, ASecondOneIsRefusedAndTakesTheMarkerAway) {
    root.write(kMarker, "");
    EXPECT_EQ(import(backup(kHost)), -1);
    EXPECT_NE(logged.find("Another system configuration import task is running."), std::string::npos);
    EXPECT_EQ(root.read("calls"), "");
    EXPECT_EQ(host(), "HOSTNAME=old\n");
    expect_tidy();
    EXPECT_EQ(import(backup(kHost)), 0);

    // A link in the marker's place is as good as a marker, and never followed.
    const std::string victim = root.write("victim", "precious");
    for (const std::string &target : {victim, root.path("missing")}) {
        ASSERT_EQ(symlink(target.c_str(), root.path(kMarker).c_str()), 0);
        EXPECT_EQ(import(backup(kHost)), -1);
        EXPECT_EQ(root.read("victim"), "precious");
        EXPECT_FALSE(std::filesystem::exists(root.path("missing")));
        expect_tidy();
    }
}

TEST_F(ImportTest, TheMarkerIsForItsOwnerAloneWhileItHoldsABlock) {
    // A service's script looks, as it is called between the blocks.
    umask(0);
    root.write("usr/morv/etc/rc.d/S05look",
               "#!/bin/sh\nstat -c %a " + root.path(kMarker) + " > " + root.path("mode") + "\n", 0755);
    ASSERT_EQ(import(backup(kHost)), 0);
    umask(022);
    // It is called again when the marker is gone.
    EXPECT_EQ(root.read("mode"), "");
    root.write(
        "usr/morv/etc/rc.d/S05look",
        "#!/bin/sh\n[ $1 = stop ] && stat -c %a " + root.path(kMarker) + " > " + root.path("mode") + "\n:\n",
        0755);
    ASSERT_EQ(import(backup(kHost)), 0);
    EXPECT_EQ(root.read("mode"), "600\n");
}

TEST_F(ImportTest, ServicesThatDoNotStopDoNotKeepItFromRestoring) {
    root.write("usr/morv/etc/rc.d/S15bad", "#!/bin/sh\nexit 1\n", 0755);
    EXPECT_EQ(import(backup(kHost)), 0);
    EXPECT_NE(events.find("- note: not all services could be stopped\n"), std::string::npos) << events;
    EXPECT_NE(logged.find("MORVNetService() failed!! services=[2147418111], action=[ACTION_STOP]"),
              std::string::npos);
    EXPECT_EQ(root.read("calls"), kStops + kStarts);
    EXPECT_EQ(host(), "HOSTNAME=box\n");
}

TEST_F(ImportTest, ASuccessIsRecorded) {
    const auto recorded = [&] {
        std::string all;
        const auto each = [](const MORV_LOG_EVENT *event, void *context) {
            char line[16];
            snprintf(line, sizeof line, "%08X ", event->event);
            static_cast<std::string *>(context)->append(line);
            return 0;
        };
        char log[256];
        MORVLogPathGet(MORV_LOG_SYSTEM, MORV_LOG_FOR_READING, log, sizeof log, nullptr);
        MORVLogEnum(root.path(log + 1).c_str(), each, &all, nullptr);
        return all;
    };
    ASSERT_EQ(import(backup(kHost)), 0);
    EXPECT_TRUE(recorded().ends_with("12100042 ")) << recorded();
    ASSERT_EQ(import(backup(kHost), kAll, 1), 0);
    EXPECT_TRUE(recorded().ends_with("12100043 ")) << recorded();
    ASSERT_EQ(import(backup(block(0x2, "")), kAll, 1), -1);
    EXPECT_FALSE(recorded().ends_with("12100043 ")) << recorded();
}

TEST_F(ImportTest, WhateverFailsServicesRunAgainAndFilesAreWhole) {
    const std::string content = backup(kHost + kWeb);
    const auto is_sound = [&](Sys which, int nth) {
        root.write("etc/morvinfo.conf", "runweb=\"no\"\n");
        root.write("etc/sysconfig/network", "HOSTNAME=old\n");
        root.write("calls", "");
        const std::string file = root.write("backup", content);
        unlink(root.path(kMarker).c_str());
        const int descriptors = open_descriptors();
        bool reached;
        int result;
        {
            const SysFault fault(which, nth);
            result = MORVSysbkpImport(file.c_str(), kAll, 0);
            reached = fault.reached();
        }
        const std::string what = std::string(sys_name(which)) + " " + std::to_string(nth);
        const std::string calls = root.read("calls");
        EXPECT_TRUE(calls.empty() || calls == kStops + kStarts) << what << calls;
        EXPECT_TRUE(web() == "runweb=\"no\"\n" || web() == "runweb=\"yes\"\n") << what << web();
        EXPECT_TRUE(host() == "HOSTNAME=old\n" || host() == "HOSTNAME=box\n") << what << host();
        if (result == 0) {
            EXPECT_EQ(web() + host(), "runweb=\"yes\"\nHOSTNAME=box\n") << what;
        }
        EXPECT_EQ(open_descriptors(), descriptors) << what;
        return reached;
    };
    int faults = 0;
    for (int which = 0; which < int(Sys::kAllocation); ++which) {
        for (int nth = 1; is_sound(Sys(which), nth); ++nth)
            ++faults;
    }
    EXPECT_GT(faults, 30);
    // Calling scripts takes long beside an allocation.
    std::filesystem::remove_all(root.path("usr/morv/etc/rc.d"));
    for (faults = 0; is_sound(Sys::kAllocation, faults + 1);)
        ++faults;
    EXPECT_GT(faults, 100);
}

}  // namespace
