// The settings of "/etc/morvinfo.conf" and "/etc/pppoe.conf".
#include <morvsdk/file.h>
#include <morvsdk/service.h>
#include <string.h>
#include <unistd.h>

#include "support/outcome.h"
#include "support/process.h"
#include "support/scratch.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

constexpr char kFile[] = "etc/morvinfo.conf";

struct SettingsRoot : ScratchRoot {
    SettingsRoot() {
        path("etc/x");
        path("tmp/x");
    }
};

std::string text_of(int setting) {
    char text[8192];
    return MORVSettingGetText(setting, text, sizeof text) == 0 ? text : "unreadable";
}

TEST(Settings, EveryOneIsFoundByItsNameAndCanBeSetToItsDefault) {
    const SettingsRoot root;
    for (int setting = 0; setting < MORV_SETTING_COUNT; ++setting) {
        const MORVSETTING *const info = MORVSettingInfo(setting);
        ASSERT_NE(info, nullptr);
        EXPECT_EQ(MORVSettingFind(info->szName), setting) << info->szName;
        EXPECT_EQ(text_of(setting), info->szDefault) << info->szName;
        EXPECT_TRUE(gives(0, ERR_SUCCESS, MORVSettingSetText(setting, info->szDefault))) << info->szName;
        int32_t number;
        EXPECT_EQ(MORVSettingGetNumber(setting, &number) == 0, info->kind != MORV_SETTING_TEXT);
        MLIBErrSet(ERR_SUCCESS);
    }
    // Nothing was to be changed, so nothing was written.
    EXPECT_EQ(root.names("etc"), std::vector<std::string>());
    EXPECT_EQ(MORVSettingInfo(-1), nullptr);
    EXPECT_EQ(MORVSettingInfo(MORV_SETTING_COUNT), nullptr);
    EXPECT_EQ(MORVSettingFind("RUNWEB"), -1);
    EXPECT_EQ(MORVSettingFind(nullptr), -1);
}

TEST(Settings, WhatMakesNoSenseInAFileCountsAsTheDefault) {
    const SettingsRoot root;
    const struct {
        int setting;
        const char *line, *value;
    } cases[] = {
        {MORV_SETTING_RUN_WEB, "runweb=\"yes\"\n", "yes"},
        {MORV_SETTING_RUN_WEB, "# runweb=yes\n runweb = YES \nrunweb=no\n", "yes"},
        {MORV_SETTING_RUN_WEB, "runweb=\"1\"\n", "no"},
        {MORV_SETTING_WRITE_CACHE, "writecache=maybe\n", "yes"},
        {MORV_SETTING_FTP_PORT, "ftpport=\"2121\"", "2121"},
        {MORV_SETTING_FTP_PORT, "ftpport=\"0021\"\n", "21"},
        {MORV_SETTING_FTP_PORT, "ftpport=\"65536\"\n", "21"},
        {MORV_SETTING_FTP_PORT, "ftpport=\"99999999999999999999\"\n", "21"},
        {MORV_SETTING_FTP_PORT, "ftpport=\"2 1\"\n", "21"},
        {MORV_SETTING_FTP_PORT, "ftpport=\"-2\"\n", "21"},
        {MORV_SETTING_FTP_RATE, "ftpmaxrate=2147483647\n", "2147483647"},
        {MORV_SETTING_FTP_RATE, "ftpmaxrate=2147483648\n", "0"},
        {MORV_SETTING_NTP_SERVER, "ntpserver=\" a b \"\n", " a b "},
        {MORV_SETTING_FTP_CHARSET, "ftpcharset=\n", "UTF-8"},
        {MORV_SETTING_FTP_CHARSET, "ftpcharset=\"\"\n", ""},
        {MORV_SETTING_FTP_CHARSET, "ftpcharset=\"a\x01\"\n", "UTF-8"},
        {MORV_SETTING_FTP_CHARSET, "ftpcharset=\"\"a\"\"\n", "UTF-8"},
    };
    for (const auto &c : cases) {
        root.write(kFile, c.line);
        EXPECT_EQ(text_of(c.setting), c.value) << c.line;
    }
    char small[3];
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVSettingGetText(MORV_SETTING_FTP_CHARSET, small, 3)));
    unlink(root.path(kFile).c_str());
    mkdir(root.path(kFile).c_str(), 0755);
    EXPECT_TRUE(gives(-1, ERR_READ_FAILED, MORVSettingGetText(MORV_SETTING_RUN_WEB, small, 3)));
}

TEST(Settings, AChangeTouchesItsLineAloneAndOnlyWhenThereIsOne) {
    const SettingsRoot root;
    const std::string before = "# mine\nrunweb=\"maybe\"\nmaxusers=7\nrunweb=\"yes\"";
    root.write(kFile, before, 0640);
    // It reads as "no" already, but services may read the line otherwise.
    EXPECT_EQ(MORVSettingSetText(MORV_SETTING_RUN_WEB, "No"), 0);
    EXPECT_EQ(root.read(kFile), "# mine\nrunweb=\"no\"\nmaxusers=7\n");
    EXPECT_EQ(mode_of(root.path(kFile)), 0640U);
    EXPECT_EQ(MORVSettingSetNumber(MORV_SETTING_FTP_PORT, 2121), 0);
    EXPECT_EQ(root.read(kFile), "# mine\nrunweb=\"no\"\nmaxusers=7\nftpport=\"2121\"\n");

    const ino_t inode = stat_of(root.path(kFile)).st_ino;
    EXPECT_EQ(MORVSettingSetText(MORV_SETTING_FTP_PORT, "02121"), 0);
    EXPECT_EQ(MORVSettingSetNumber(MORV_SETTING_RUN_WEB, 0), 0);
    EXPECT_EQ(MORVSettingSetText(MORV_SETTING_HTTP_PORT, "80"), 0);
    EXPECT_EQ(stat_of(root.path(kFile)).st_ino, inode);

    EXPECT_EQ(MORVSettingSetText(MORV_SETTING_PPPOE_PASSWORD, "$(x) 'é"), 0);
    EXPECT_EQ(root.read("etc/pppoe.conf"), "pppoepassword=\"$(x) 'é\"\n");
    EXPECT_EQ(mode_of(root.path("etc/pppoe.conf")), 0600U);
    EXPECT_EQ(text_of(MORV_SETTING_PPPOE_PASSWORD), "$(x) 'é");
}

TEST(Settings, AValueThatASettingCannotHaveIsRefused) {
    const SettingsRoot root;
    const std::string long_text(256, 'x');
    const struct {
        int setting;
        const char *value;
    } cases[] = {{MORV_SETTING_RUN_WEB, "1"},
                 {MORV_SETTING_RUN_WEB, ""},
                 {MORV_SETTING_RUN_WEB, "yes\n"},
                 {MORV_SETTING_FTP_PORT, "0"},
                 {MORV_SETTING_FTP_PORT, "65536"},
                 {MORV_SETTING_FTP_PORT, "+21"},
                 {MORV_SETTING_FTP_PORT, "21 "},
                 {MORV_SETTING_NTP_SERVER, "a\nrunweb=yes"},
                 {MORV_SETTING_NTP_SERVER, "a\"b"},
                 {MORV_SETTING_NTP_SERVER, "a\x7F"},
                 {MORV_SETTING_NTP_SERVER, long_text.c_str()},
                 {MORV_SETTING_COUNT, "x"},
                 {-1, "x"},
                 {MORV_SETTING_RUN_WEB, nullptr}};
    for (const auto &c : cases)
        EXPECT_TRUE(refuses(-1, MORVSettingSetText(c.setting, c.value))) << c.setting;
    EXPECT_TRUE(refuses(-1, MORVSettingSetNumber(MORV_SETTING_RUN_WEB, 2)));
    EXPECT_TRUE(refuses(-1, MORVSettingSetNumber(MORV_SETTING_FTP_PORT, 65536)));
    EXPECT_TRUE(refuses(-1, MORVSettingSetNumber(MORV_SETTING_NTP_SERVER, 1)));
    EXPECT_EQ(root.names("etc"), std::vector<std::string>());
}

TEST(Settings, AreSupportedWhereTheModelSaysYes) {
    const SettingsRoot root;
    EXPECT_EQ(BlMORVSettingIsSupported(MORV_SETTING_RUN_FTP), 1);
    EXPECT_EQ(BlMORVSettingIsSupported(MORV_SETTING_RUN_WEB), 0);
    root.write("etc.defaults/morvinfo.conf", "supportweb=\"yes\"\nsupportmysql=\"no\"\n");
    EXPECT_EQ(BlMORVSettingIsSupported(MORV_SETTING_RUN_WEB), 1);
    EXPECT_EQ(BlMORVSettingIsSupported(MORV_SETTING_RUN_MYSQL), 0);
    EXPECT_EQ(BlMORVSettingIsSupported(MORV_SETTING_COUNT), 0);
}

TEST(Settings, AFaultLeavesTheFileAsItWas) {
    const SettingsRoot root;
    const std::string before = "runweb=\"no\"\n", after = "runweb=\"yes\"\n";
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        root.write(kFile, before);
        bool reached;
        int result;
        {
            const SysFault fault(which, nth);
            result = MORVSettingSetText(MORV_SETTING_RUN_WEB, "yes");
            reached = fault.reached();
        }
        const std::string now = root.read(kFile);
        EXPECT_TRUE(result == 0 ? now == after : now == before || now == after) << sys_name(which) << nth;
        EXPECT_EQ(root.names("etc"), std::vector<std::string>{"morvinfo.conf"}) << sys_name(which) << nth;
        return reached;
    });
    EXPECT_GT(faults, 6);
    const Holder holder(MORV_LOCK_MORVINFO | MORV_LOCK_WRITE);
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, MORVSettingSetText(MORV_SETTING_RUN_WEB, "no")));
}

}  // namespace

// The library's waiting for a lock: a short nap.
extern "C" int usleep(useconds_t) {
    const timespec nap = {0, 20000};
    return nanosleep(&nap, nullptr);
}
