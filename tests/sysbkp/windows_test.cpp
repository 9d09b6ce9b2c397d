// Workgroup and WINS server in a backup, and back.
#include <morvsdk/internal/sysbkp.h>

#include "support/accounts.h"
#include "support/backup_file.h"

using namespace testing_support;

namespace {

constexpr char kConf[] = "usr/morv/etc/smb.conf";

std::string settings(const char *workgroup, int64_t wins) {
    return text(workgroup) + number(wins);
}

TEST(WindowsBackup, HoldsTheAddressInTheOrderOfItsBytes) {
    const AccountRoot root;
    const struct {
        const char *conf;
        std::string body;
    } cases[] = {
        {"[global]\n\tworkgroup = HOME\n\twins server = 10.0.1.255\n", settings("HOME", 0x0A0001FF)},
        {"[Global]\nWorkGroup=My Group\nWINS SERVER=192.168.0.1\n", settings("My Group", 0xC0A80001)},
        {"[global]\nwins server = wins.example.org\n", settings("", -1)},
        {"[global]\nwins server = 10.0.0.1 10.0.0.2\n", settings("", -1)},
        {"[global]\n", settings("", -1)},
        {"[a]\npath=/volume1/a\n", settings("", -1)},
    };
    for (const auto &c : cases) {
        root.write(kConf, c.conf);
        logged.clear();
        EXPECT_EQ(exported(MORVSysbkpWindowsExport), block(MORV_SYSBKP_WINDOWS, c.body)) << c.conf;
        EXPECT_EQ(
            logged.find("only such a one") != logged.npos,
            std::string_view(c.conf).find("server") != std::string_view::npos && c.body == settings("", -1));
    }
    remove(root.path(kConf).c_str());
    EXPECT_EQ(exported(MORVSysbkpWindowsExport), "failed");
}

TEST(WindowsBackup, ChangesItsTwoKeysAndNoOtherLine) {
    const AccountRoot root;
    const std::string rest = "\n; shared\n[plans]\n\tpath = /volume1/plans\n";
    const struct {
        const char *before;
        std::string body;
        const char *after;  // the same: not written at all
    } cases[] = {
        {"[global]\n\t# by hand\n\tworkgroup = HOME\n\tos level = 20\n\twins server = 10.0.0.1\n\t; end\n",
         settings("WORK", 0x0A000002),
         "[global]\n\t# by hand\n\tworkgroup = WORK\n\tos level = 20\n\twins server = 10.0.0.2\n\t; end\n"},
        {"[global]\n\tworkgroup = HOME\n\twinsserver=10.0.0.1\n", settings("", 0), "[global]\n"},
        {"[global]\n\tworkgroup = HOME\n\twins server = x\n", settings("HOME", -1),
         "[global]\n\tworkgroup = HOME\n"},
        {"[global]\n  workgroup = A  \n  workgroup = HOME  \n", settings("HOME", -1),
         "[global]\n  workgroup = A  \n  workgroup = HOME  \n"},
        {"[global]\n\ta = b\n", settings("", -1), "[global]\n\ta = b\n"},
        {"[global]\r\n\ta = b\r\n", settings("A B", 0x7F000001),
         "[global]\r\n\ta = b\r\n\tworkgroup = A B\r\n\twins server = 127.0.0.1\r\n"},
        {"[global]\nworkgroup=A\n[GLOBAL]\nb=c\n", settings("B", 0),
         "[global]\nworkgroup=A\n[GLOBAL]\nb=c\nworkgroup=B\n"},
    };
    for (const auto &c : cases) {
        root.write(kConf, c.before + rest);
        EXPECT_NE(exported(MORVSysbkpWindowsExport), "failed");
        const ino_t inode = stat_of(root.path(kConf)).st_ino;
        EXPECT_EQ(imported(MORVSysbkpWindowsImport, c.body), 0) << logged;
        EXPECT_EQ(root.read(kConf), c.after + rest);
        EXPECT_EQ(stat_of(root.path(kConf)).st_ino == inode, std::string_view(c.before) == c.after);
        // The mirror holds what it would hold when built anew.
        const std::string seen = exported(MORVSysbkpWindowsExport);
        remove(root.path("tmp/.db.morvshare.0957").c_str());
        EXPECT_EQ(exported(MORVSysbkpWindowsExport), seen) << c.before;
        EXPECT_TRUE(root.is_tidy());
    }
    root.write(kConf, rest.substr(1));
    EXPECT_EQ(imported(MORVSysbkpWindowsImport, settings("", 0)), 0);
    EXPECT_EQ(root.read(kConf), rest.substr(1));
    EXPECT_EQ(imported(MORVSysbkpWindowsImport, settings("HOME", 0)), 0);
    EXPECT_EQ(root.read(kConf), rest.substr(1) + "\n[global]\n\tworkgroup=HOME\n");
}

TEST(WindowsBackup, ThatCannotBeSetChangesNothing) {
    const AccountRoot root;
    const auto before = root.files();
    const std::string bodies[] = {
        settings("SIXTEEN-BYTES-XX", 0x0A000001),
        settings("A\nB", 0x0A000001),
        settings("A\\", 0x0A000001),
        settings(" A", 0x0A000001),
        settings("\"A\"", 0x0A000001),
        settings("WORK", 1) + number(1),
        text("WORK"),
        number(1) + number(1),
    };
    for (const std::string &body : bodies) {
        EXPECT_EQ(imported(MORVSysbkpWindowsImport, body), -1);
        EXPECT_NE(logged.find("3 configuration backup: "), logged.npos);
        EXPECT_EQ(root.files(), before);
    }
    EXPECT_TRUE(root.is_tidy());
}

}  // namespace
