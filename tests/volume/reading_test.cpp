#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/fs.h>
#include <morvsdk/lvm.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "support/alloc_fault.h"
#include "support/hashes.h"
#include "support/outcome.h"
#include "support/sys_fault.h"
#include "volume/storage.h"

namespace {

using namespace testing_support;

struct Reading : testing::Test {
    ~Reading() override {
        FSInfoFree(fs);
        LVMVgInfoFree(group);
    }
    int get_fs(const char *path) {
        FSInfoFree(fs);
        fs = nullptr;
        return FSInfoGet(path, &fs);
    }
    int get_group(const char *path) {
        LVMVgInfoFree(group);
        group = nullptr;
        return LVMVgInfoGet(path, &group);
    }
    StorageRoot<> root;
    FS_INFO *fs = nullptr;
    LVM_VG_INFO *group = nullptr;
};

TEST_F(Reading, TheLastFileSystemMountedAtAPathCounts) {
    root.mounts(
        "/dev/md2 /volume1 ext4 rw,relatime,errors=remount-ro 0 0\n"
        "/dev/sdq1 /volumeUSB1/my\\040disk\\134o vfat rw 0 0\n"
        "/dev/md3 /volume1 xfs ro,noatime 0 0\n"
        "broken\n"
        "/dev/md4 /volume1/../../tmp ext4 rw 0 0\n"
        "none relative proc rw 0 0");
    EXPECT_EQ(get_fs("/volume1"), 1);
    EXPECT_STREQ(fs->szDevice, "/dev/md3");
    EXPECT_STREQ(fs->szType, "xfs");
    EXPECT_EQ(fs->writable, 0);
    EXPECT_EQ(fs->state, FS_STATE_CLEAN);
    EXPECT_EQ(get_fs("/volumeUSB1/my disk\\o"), 1);
    EXPECT_STREQ(fs->szMountPoint, "/volumeUSB1/my disk\\o");
    EXPECT_EQ(fs->writable, 1);
    EXPECT_EQ(get_fs("/volume"), 0);
    EXPECT_EQ(get_fs("/volume10"), 0);

    List points;
    EXPECT_EQ(FSPathEnum(points.address()), 0);
    EXPECT_EQ(points.items(), (std::vector<std::string>{"/", "/volume1", "/volumeUSB1/my disk\\o"}));
}

TEST_F(Reading, TheSuperblockTellsOfErrors) {
    constexpr struct {
        const char *type;
        int word, state;  // -1: no superblock
    } kCases[] = {
        {"ext4", 1, FS_STATE_CLEAN},    {"ext4", 2, FS_STATE_ERRORS}, {"ext3", 3, FS_STATE_ERRORS},
        {"ext2", 0, FS_STATE_CLEAN},    {"ext4", 6, FS_STATE_ERRORS}, {"xfs", 2, FS_STATE_CLEAN},
        {"ext4", -1, FS_STATE_UNKNOWN},
    };
    root.mounts("/dev/../outside /volume1 ext4 rw 0 0\n");
    root.superblock("outside", 2);
    EXPECT_EQ(get_fs("/volume1"), 1);
    EXPECT_EQ(fs->state, FS_STATE_UNKNOWN);
    for (const auto &[type, word, state] : kCases) {
        root.mounts(std::string("/dev/md2 /volume1 ") + type + " rw 0 0\n");
        root.superblock("dev/md2", word);
        if (word < 0) root.write("dev/md2", std::string(1083, '\xEF'));
        EXPECT_EQ(get_fs("/volume1"), 1);
        EXPECT_EQ(fs->state, state) << type << word;
    }
    remove(root.path("dev/md2").c_str());
    EXPECT_EQ(get_fs("/volume1"), 1);
    EXPECT_EQ(fs->state, FS_STATE_UNKNOWN);
}

TEST_F(Reading, WhatNoRecordHoldsIsRefused) {
    root.mounts(std::string(128, 'd') + " /volume1 ext4 rw 0 0\n");
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, get_fs("/volume1")));
    remove(root.path("proc/mounts").c_str());
    List points;
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, get_fs("/volume1")));
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, FSPathEnum(points.address())));
    EXPECT_TRUE(
        refuse_nulls(-1, FSInfoGet, FSPathEnum, LVMVgInfoGet, LVMVgInfoEnumPv, LVMVgPathEnum, LVMReportGet));
}

TEST_F(Reading, GroupsAreReadAsLvmToldOfThem) {
    EXPECT_EQ(get_group("/dev/vg1"), 0);
    root.write("tmp/lvm.status",
               "# written by hand\n"
               "[/dev/vg2]\n"
               "/dev/md3 = 0\n"
               "\n"
               "; spare\n"
               "/dev/md4=\"1\"\n"
               "/dev/sdb3=0\n"
               "[/dev/vg1]\n"
               "[/dev/vg2]\n"
               "/dev/md9=0\n"
               "[/dev/vg3]\n"
               "/dev/md5=missing\n");
    ASSERT_EQ(get_group("/dev/vg2"), 1);
    EXPECT_STREQ(group->szPath, "/dev/vg2");
    List normal, missing;
    EXPECT_EQ(LVMVgInfoEnumPv(group, LVM_PV_NORMAL, normal.address()), 2);
    EXPECT_EQ(normal.items(), (std::vector<std::string>{"/dev/md3", "/dev/sdb3"}));
    EXPECT_EQ(LVMVgInfoEnumPv(group, LVM_PV_MISSING, missing.address()), 1);
    EXPECT_EQ(missing.items(), (std::vector<std::string>{"/dev/md4"}));
    EXPECT_TRUE(refuses(-1, LVMVgInfoEnumPv(group, 2, normal.address())));
    ASSERT_EQ(get_group("/dev/vg1"), 1);
    EXPECT_EQ(group->pPvs, nullptr);
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, get_group("/dev/vg3")));
    EXPECT_EQ(get_group("/dev/vg"), 0);
    List groups;
    EXPECT_EQ(LVMVgPathEnum(groups.address()), 0);
    EXPECT_EQ(groups.items(), (std::vector<std::string>{"/dev/vg2", "/dev/vg1", "/dev/vg3"}));
}

TEST_F(Reading, AStatusOfSomebodyElseDoesNotCount) {
    const std::string path = root.write("other", "[/dev/vg1]\n/dev/md2=0\n");
    const std::string status = root.path("tmp/lvm.status");
    ASSERT_EQ(symlink(path.c_str(), status.c_str()), 0);
    EXPECT_EQ(get_group("/dev/vg1"), 0);
    // What lies there is not written to either.
    ASSERT_EQ(LVMStatusSet(nullptr), 0);
    EXPECT_EQ(root.read("other"), "[/dev/vg1]\n/dev/md2=0\n");
    remove(status.c_str());
    ASSERT_EQ(mkfifo(status.c_str(), 0600), 0);
    EXPECT_EQ(get_group("/dev/vg1"), 0);
    if (geteuid() != 0) return;
    remove(status.c_str());
    ASSERT_EQ(link(path.c_str(), status.c_str()), 0);
    ASSERT_EQ(chown(status.c_str(), 12345, 12345), 0);
    EXPECT_EQ(get_group("/dev/vg1"), 0);
}

TEST_F(Reading, WhatIsWrittenIsReadBackOrRefused) {
    LVM_PV second = {"/dev/md3", LVM_PV_MISSING, nullptr}, first = {"/dev/md2", LVM_PV_NORMAL, &second};
    LVM_VG_INFO other = {"/dev/vg2", nullptr, nullptr}, one = {"/dev/vg1", &first, &other};
    EXPECT_EQ(LVMStatusSet(&one), 0);
    EXPECT_EQ(root.read("tmp/lvm.status"), "[/dev/vg1]\n/dev/md2=0\n/dev/md3=1\n[/dev/vg2]\n");
    EXPECT_EQ(mode_of(root.path("tmp/lvm.status")), 0644U);

    for (const char *path : {"/dev/a\n/dev/b", "[unknown]", "/dev/a=b", "/dev/a ", "", "md2"}) {
        snprintf(first.szPath, sizeof first.szPath, "%s", path);
        EXPECT_TRUE(refuses(-1, LVMStatusSet(&one))) << path;
    }
    LVM_VG_INFO twice = {"/dev/vg2", nullptr, &other}, odd = {"/dev/vg]", nullptr, nullptr};
    EXPECT_TRUE(refuses(-1, LVMStatusSet(&twice)));
    EXPECT_TRUE(refuses(-1, LVMStatusSet(&odd)));
    const std::string before = root.read("tmp/lvm.status");
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        int result;
        bool reached;
        {
            const SysFault fault(which, nth);
            result = LVMStatusSet(&other);
            reached = fault.reached();
        }
        EXPECT_EQ(root.read("tmp/lvm.status"), result == 0 ? "[/dev/vg2]\n" : before);
        EXPECT_EQ(root.names("tmp").size(), 1U);
        root.write("tmp/lvm.status", before);
        return reached;
    });
    EXPECT_GT(faults, 5);
    EXPECT_EQ(LVMStatusSet(nullptr), 0);
    EXPECT_EQ(root.read("tmp/lvm.status"), "");
}

TEST_F(Reading, LvmIsAskedForItsReport) {
    char *text = nullptr;
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, LVMReportGet(&text)));
    root.tool("sbin/lvm", "echo '{}'");
    EXPECT_EQ(LVMReportGet(&text), 0);
    EXPECT_STREQ(text, "{}\n");
    EXPECT_EQ(root.calls(), "lvm pvs --reportformat json -o pv_name,vg_name,pv_missing\n");
    free(text);
    text = nullptr;
    root.tool("sbin/lvm", "printf '{\\0}'");
    EXPECT_TRUE(gives(-1, ERR_READ_FAILED, LVMReportGet(&text)));
    EXPECT_EQ(text, nullptr);
}

}  // namespace
