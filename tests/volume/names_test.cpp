#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/lvm.h>
#include <morvsdk/volume.h>

#include <string>

#include "support/outcome.h"

namespace {

using namespace testing_support;

TEST(Names, AVolumeIsKnownByItsPath) {
    constexpr struct {
        const char *path;
        int number, location;  // 0: refused
    } kCases[] = {
        {"/volume1", 1, 1},
        {"/volume", 0, 1},
        {"/volume2147483647", 2147483647, 1},
        {"/volumeX3", 3, 2},
        {"/volumeUSB", 0, 4},
        {"/volumeUSB1share", 1, 4},
        {"/volumeUSB2/usbshare", 2, 4},
        {"/volumeSATA7", 7, 8},
        {"/volume1a", 0, 0},
        {"/volume1/music", 0, 0},
        {"/volume-1", 0, 0},
        {"/volume 1", 0, 0},
        {"/volumeX3a", 0, 0},
        {"/volumeU1", 0, 0},
        {"/volume2147483648", 0, 0},
        {"/volumeUSB99999999999", 0, 0},
        {"/vol1", 0, 0},
        {"volume1", 0, 0},
        {"", 0, 0},
    };
    for (const auto &[path, number, location] : kCases) {
        VOLUME_ID id = {-7, -7};
        const int result = VolumePathParse(path, &id);
        if (location == 0) {
            EXPECT_TRUE(refuses(-1, result)) << path;
            EXPECT_EQ(id.number, -7) << path;
            continue;
        }
        EXPECT_EQ(result, 1) << path;
        EXPECT_EQ(id.number, number) << path;
        EXPECT_EQ(id.location, location) << path;
    }
}

TEST(Names, APathInAVolumeHasItsNumber) {
    const std::string longest = "/volume4/" + std::string(485 - 9, 'x');
    const struct {
        std::string path;
        int number, code;
    } cases[] = {
        {"/volume2/photo", 2, 0},
        {"/volume12/a/b", 12, 0},
        {"/volume2.snap_5/photo", 2, 0},
        {longest, 4, 0},
        {longest + "x", -1, ERR_BAD_PARAMETERS},
        {"/volume", -1, ERR_BAD_PARAMETERS},
        {"/music/x", -1, ERR_BAD_PARAMETERS},
        {"/volume2/", -1, ERR_INVALID_PATH},
        {"/volume2", -1, ERR_INVALID_PATH},
        {"/volumeX2/photo", -1, ERR_INVALID_PATH},
        {"/volume-2/photo", -1, ERR_INVALID_PATH},
        {"/volume2.snap_/photo", -1, ERR_INVALID_PATH},
        {"/volume2.snap_5x/photo", -1, ERR_INVALID_PATH},
        {"/volume99999999999/photo", -1, ERR_INVALID_PATH},
    };
    for (const auto &[path, number, code] : cases)
        EXPECT_TRUE(gives(number, code, MORVVolIDParse(path.c_str()))) << path;
}

TEST(Names, PathsOfVolumesGroupsAndArraysBelongToEachOther) {
    constexpr struct {
        int option;
        const char *from, *to;  // null: refused
    } kCases[] = {
        {VOLUME_TO_VG, "/volume1", "/dev/vg1"},
        {VOLUME_TO_VG, "/volumeX1", nullptr},
        {VOLUME_TO_VG, "/volume", nullptr},
        {VOLUME_TO_RAID, "/volume1", "/dev/md2"},
        {VOLUME_TO_RAID, "/volume99", "/dev/md100"},
        {VOLUME_TO_RAID, "/volume0", nullptr},    // a system array
        {VOLUME_TO_RAID, "/volume100", nullptr},  // an enclosure's
        {VOLUME_TO_RAID, "/volumeX1", "/dev/md101"},
        {VOLUME_TO_RAID, "/volumeX0", nullptr},
        {VOLUME_TO_RAID, "/volumeUSB1", nullptr},
        {RAID_TO_VOLUME, "/dev/md2", "/volume1"},
        {RAID_TO_VOLUME, "/dev/md100", "/volume99"},
        {RAID_TO_VOLUME, "/dev/md101", "/volumeX1"},
        {RAID_TO_VOLUME, "/dev/md0", nullptr},
        {RAID_TO_VOLUME, "/dev/md1", nullptr},
        {RAID_TO_VOLUME, "/dev/md02", nullptr},
        {RAID_TO_VOLUME, "/dev/md2p1", nullptr},
        {VG_TO_VOLUME, "/dev/vg3", "/volume3"},
        {VG_TO_VOLUME, "/dev/vgdata", nullptr},
        {5, "/dev/vg3", nullptr},
    };
    for (const auto &[option, from, to] : kCases) {
        char buffer[32] = "kept";
        const int result = VolumePathSwitch(from, option, buffer, sizeof buffer);
        if (to)
            EXPECT_EQ(result, 0) << from;
        else
            EXPECT_TRUE(refuses(-1, result)) << from;
        EXPECT_STREQ(buffer, to ? to : "kept") << from;
    }
    char small[8];
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, VolumePathSwitch("/volume1", 1, small, sizeof small)));
}

TEST(Names, ALogicalVolumeBelongsToItsGroup) {
    constexpr struct {
        const char *device, *group;
    } kCases[] = {
        {"/dev/vg1/lv", "/dev/vg1"},
        {"/dev/mapper/vg1-lv", "/dev/vg1"},
        {"/dev/mapper/vg12-volume--1", "/dev/vg12"},
        {"/dev/mapper/vg1--a-lv", nullptr},
        {"/dev/mapper/vg1-", nullptr},
        {"/dev/mapper/luks-1", nullptr},
        {"/dev/mapper/vg1-a/b", nullptr},
        {"/dev/vg1", nullptr},
        {"/dev/vg1/", nullptr},
        {"/dev/md2", nullptr},
        {"/dev/vgx/lv", nullptr},
        {"tmpfs", nullptr},
    };
    for (const auto &[device, group] : kCases) {
        char buffer[32] = "kept";
        const int result = LVMPathSwitch(device, LVM_DEVICE_TO_VG, buffer, sizeof buffer);
        if (group)
            EXPECT_EQ(result, 0) << device;
        else
            EXPECT_TRUE(refuses(-1, result)) << device;
        EXPECT_STREQ(buffer, group ? group : "kept") << device;
    }
    char small[8];
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, LVMPathSwitch("/dev/vg1/lv", 1, small, sizeof small)));
    EXPECT_TRUE(refuses(-1, LVMPathSwitch("/dev/vg1/lv", 2, small, sizeof small)));
}

TEST(Names, NullIsRefused) {
    EXPECT_TRUE(refuse_nulls(-1, VolumePathParse, MORVVolIDParse, VolumePathSwitch, LVMPathSwitch));
}

}  // namespace
