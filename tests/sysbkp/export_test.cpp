// What an export does besides writing blocks: which ones, in which order, and what becomes of the file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/sysbkp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/backup_file.h"
#include "support/scratch.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

class ExportTest : public testing::Test {
  protected:
    ExportTest() {
        root.write("etc/passwd", "root:x:0:0:root:/root:/bin/sh\n");
        root.write("etc/shadow", "root:*:19000:0:99999:7:::\n");
        root.write("etc/group", "root:x:0:\n");
        for (const char *empty :
             {"etc/morvuser.conf", "etc/group_desc", "usr/morv/etc/private/smbpasswd", "tmp/x"})
            root.write(empty, "");
        root.write("usr/morv/etc/smb.conf", "[global]\n\tworkgroup=HOUSE\n\twins server=10.0.0.1\n");
        root.write("etc/sysconfig/network", "HOSTNAME=nas\n");
        root.write("etc/TZ", "UTC\n");
    }

    ScratchRoot root;
    const std::string file = root.path("box.morv");
    const std::string kHost = block_of(0x2, {"nas"});
};

TEST_F(ExportTest, WritesTheKindsOfItsMaskAndAllOfThemInTheirOrder) {
    ASSERT_EQ(MORVSysbkpExport(file.c_str(), 0x2), 0);
    EXPECT_EQ(read_file(file), backup(kHost, 2));
    ASSERT_EQ(MORVSysbkpExport(file.c_str(), MORV_SYSBKP_MYSQL | MORV_SYSBKP_HOSTNAME | 0x4), 0);
    EXPECT_EQ(read_file(file), backup(kHost + block_of(0x800000, {0}), 0x800006));

    ASSERT_EQ(MORVSysbkpExport(file.c_str(), MORV_SYSBKP_ALL), 0);
    const std::string all = read_file(file);
    const std::string time = all.substr(12, 12 + 8 + 20);  // header, and the time's item
    const std::string others =
        kHost + block_of(0x10, {"", "", ""}) + block_of(0x40, {0}) + block_of(0x80, {"HOUSE", 0x0A000001}) +
        block_of(0x100, {0}) + block_of(0x200, {0}) + block_of(0x20, {0}) + block_of(0x400, {0}) +
        block_of(0x800, {0, "UTF-8", 21, 0, 0, 0}) + block_of(0x2000, {0, "", ""}) +
        block_of(0x8000, {0, 0}) + block_of(0x100000, {"", "80"}) + block_of(0x20000, {"1500"}) +
        block_of(0x40000, {"no"}) + block_of(0x80000, {""}) + block_of(0x10000, {0}) +
        block_of(0x200000, {1}) + block_of(0x400000, {0, "", 0, 0, 0, 6881, 6890, 0}) +
        block_of(0x800000, {0}) + block_of(0x1000000, {0});
    EXPECT_EQ(all, backup(time + body_of({0, "", "", "", "UTC", 0}) + others));
}

TEST_F(ExportTest, MakesAFileForItsOwnerAlone) {
    const int descriptors = open_descriptors();
    umask(0);
    ASSERT_EQ(MORVSysbkpExport(file.c_str(), 0x2), 0);
    umask(022);
    EXPECT_EQ(mode_of(file), 0600u);
    write_file(file, std::string(5000, 'x'), 0666);
    MLIBErrSet(ERR_KEY_EXISTS);
    ASSERT_EQ(MORVSysbkpExport(file.c_str(), 0x2), 0);
    EXPECT_EQ(MLIBErrGet(), ERR_KEY_EXISTS);
    EXPECT_EQ(mode_of(file), 0600u);
    EXPECT_EQ(read_file(file), backup(kHost, 2));
    EXPECT_EQ(open_descriptors(), descriptors);
    if (geteuid() != 0) return;
    // Whoever owned it could read it.
    write_file(file, "somebody's");
    ASSERT_EQ(chown(file.c_str(), 65534, 65534), 0);
    const int reader = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(MORVSysbkpExport(file.c_str(), 0x2), 0);
    EXPECT_EQ(stat_of(file).st_uid, 0u);
    char seen[16] = {};
    EXPECT_EQ(pread(reader, seen, sizeof seen - 1, 0), 10);
    EXPECT_STREQ(seen, "somebody's");
    close(reader);
}

TEST_F(ExportTest, ThatFailsLeavesNoPartOfAFile) {
    EXPECT_EQ(MORVSysbkpExport(nullptr, 2), -1);
    EXPECT_EQ(MORVSysbkpExport((root.dir() + "/none/x").c_str(), 2), -1);
    remove(root.path("etc/passwd").c_str());
    EXPECT_EQ(MORVSysbkpExport(file.c_str(), MORV_SYSBKP_HOSTNAME | MORV_SYSBKP_USER), -1);
    EXPECT_NE(logged.find("Fail to export user_desc\n"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(file));
    // Nor where a link leads to.
    const std::string target = root.write("target", "");
    ASSERT_EQ(symlink(target.c_str(), file.c_str()), 0);
    EXPECT_EQ(MORVSysbkpExport(file.c_str(), MORV_SYSBKP_HOSTNAME | MORV_SYSBKP_USER), -1);
    EXPECT_EQ(read_file(target), "");
    // What is no file is not removed.
    EXPECT_EQ(MORVSysbkpExport("/dev/null", MORV_SYSBKP_USER), -1);
    EXPECT_TRUE(std::filesystem::exists("/dev/null"));
}

TEST_F(ExportTest, WhateverFailsTheFileIsWholeOrGone) {
    const std::string whole = backup(kHost + block_of(0x40, {0}), 0x42);
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        int result;
        bool reached;
        {
            const SysFault fault(which, nth);
            result = MORVSysbkpExport(file.c_str(), 0x42);
            reached = fault.reached();
        }
        EXPECT_EQ(std::filesystem::exists(file), result == 0) << sys_name(which) << nth;
        if (result == 0) {
            EXPECT_EQ(read_file(file), whole) << sys_name(which) << nth;
        }
        remove(file.c_str());
        return reached;
    });
    EXPECT_GT(faults, 10);
}

}  // namespace
