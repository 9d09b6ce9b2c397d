// Stopping and starting services by their bits, and the event that tells of it.
#include <morvsdk/log.h>
#include <morvsdk/service.h>
#include <stdlib.h>
#include <unistd.h>

#include "support/outcome.h"
#include "support/tool_root.h"

using namespace testing_support;

namespace {

struct ServiceRoot : ToolRoot<> {
    ServiceRoot() {
        for (const char *name : {"S10management", "S20web.sh", "S30ftp", "S40cron", "S50ftp.sh", "S60webdav",
                                 "S70sh", "Sxxweb", "S80", "K20ssh"})
            tool(std::string("usr/morv/etc/rc.d/") + name);
        path("usr/morv/etc/rc.d/S15smb/x");
        write("usr/morv/etc/rc.d/S90ssh", "#!/bin/sh\n", 0644);
        path("var/log/x");
        path("etc/x");
        path("tmp/x");
    }

    // The arguments of the newest event of the log, and its number.
    std::string recorded() const {
        std::string text = read("var/log/morvsys.log");
        unlink(path("var/log/morvsys.log").c_str());
        if (text.size() < 40) return "";
        const auto byte = [&](size_t at) { return static_cast<unsigned char>(text[16 + at]); };
        const size_t names = size_t(byte(8)) * 256 + byte(9) + size_t(byte(10)) * 256 + byte(11);
        return std::to_string(byte(15)) + " " +
               text.substr(16 + 24 + names, size_t(byte(16)) * 256 + byte(17));
    }
};

TEST(Services, AreStoppedLastFirstAndStartedFirstFirstByTheirBits) {
    const ServiceRoot root;
    const struct {
        int services, action;
        const char *calls;
    } cases[] = {
        {MORV_SERVICES_BUT_MANAGEMENT, MORV_SERVICES_STOP,
         "S70sh stop\nS60webdav stop\nS50ftp.sh stop\nS40cron stop\nS30ftp stop\nS20web.sh stop\n"},
        {int(MORV_SERVICE_WEB) | MORV_SERVICE_FTP, MORV_SERVICES_START,
         "S20web.sh start\nS30ftp start\nS50ftp.sh start\n"},
        {MORV_SERVICE_OTHER, MORV_SERVICES_START, "S40cron start\nS60webdav start\nS70sh start\n"},
        {MORV_SERVICE_MANAGEMENT, MORV_SERVICES_STOP, "S10management stop\n"},
        // Switched off, a folder, no such script, bits of nothing.
        {MORV_SERVICE_SSH | MORV_SERVICE_WINDOWS | MORV_SERVICE_NFS | 0x20000000, MORV_SERVICES_START, ""},
        {0, MORV_SERVICES_STOP, ""},
    };
    for (const auto &c : cases) {
        EXPECT_TRUE(gives(0, ERR_SUCCESS, MORVNetService(c.services, c.action)));
        EXPECT_EQ(root.calls(), c.calls) << std::hex << c.services;
    }
    EXPECT_EQ(MORVServiceOnOffALL(MORV_SERVICES_START), 0);
    EXPECT_EQ(root.calls().substr(0, 20), "S10management start\n");
    EXPECT_TRUE(refuses(-1, MORVNetService(MORV_SERVICE_WEB, 0)));
    EXPECT_TRUE(refuses(-1, MORVNetServiceLog(MORV_SERVICE_WEB, 3)));
    root.tool("usr/morv/etc/rc.d/S20web.sh", "exit 1");
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVNetService(-1, MORV_SERVICES_STOP)));
    EXPECT_NE(root.calls().find("S10management stop"), std::string::npos);
}

TEST(Services, TheEventNamesThoseThatAreOn) {
    const ServiceRoot root;
    EXPECT_EQ(MORVNetServiceLog(MORV_SERVICES_BUT_MANAGEMENT, MORV_SERVICES_STOP), 0);
    EXPECT_EQ(root.recorded(), "1 all");
    EXPECT_EQ(
        MORVNetServiceLog(MORV_SERVICE_FTP | MORV_SERVICE_SSH | MORV_SERVICE_MANAGEMENT, MORV_SERVICES_START),
        0);
    EXPECT_EQ(root.recorded(), "2 management, ftp");
    EXPECT_EQ(MORVNetServiceLog(MORV_SERVICE_SSH, MORV_SERVICES_START), 0);
    EXPECT_EQ(root.recorded(), "");
}

TEST(Services, AreListedWithWhatIsOff) {
    const ServiceRoot root;
    std::string found;
    const auto add = [](const MORVSERVICE *service, void *context) {
        *static_cast<std::string *>(context) +=
            std::string(service->szScript) + "=" + service->szName + (service->isOn ? " " : "(off) ");
        return service->service == MORV_SERVICE_SSH ? 1 : 0;
    };
    EXPECT_EQ(MORVServiceEnum(add, &found), 8);
    EXPECT_EQ(found,
              "S10management=management S20web.sh=web S30ftp=ftp S40cron=cron S50ftp.sh=ftp S60webdav=webdav "
              "S70sh=sh S90ssh=ssh(off) ");
    root.write("usr/morv/etc/rc.d/S05ssh", "", 0644);
    found.clear();
    EXPECT_EQ(MORVServiceEnum(add, &found), 1);
    EXPECT_EQ(found, "S05ssh=ssh(off) ");
    EXPECT_TRUE(refuses(-1, MORVServiceEnum(nullptr, nullptr)));
}

}  // namespace
