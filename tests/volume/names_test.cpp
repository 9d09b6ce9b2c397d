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
        int number, location;
    } kVolumes[] = {
        {"/volume1", 1, 1},     {"/volume", 0, 1},       {"/volume2147483647", 2147483647, 1},
        {"/volumeX3", 3, 2},    {"/volumeUSB", 0, 4},    {"/volumeUSB1share", 1, 4},
        {"/volumeSATA7", 7, 8}, {"/volumeUSB2/a", 2, 4},
    };
    VOLUME_ID id = {};
    for (const auto &[path, number, location] : kVolumes) {
        EXPECT_EQ(VolumePathParse(path, &id), 1) << path;
        EXPECT_EQ(id.number, number) << path;
        EXPECT_EQ(id.location, location) << path;
    }
    for (const char *path :
         {"/volume1a", "/volume1/music", "/volume-1", "/volume 1", "/volumeX3a", "/volumeU1",
          "/volume2147483648", "/volumeUSB99999999999", "/vol1", "volume1", ""})
        EXPECT_TRUE(refuses(-1, VolumePathParse(path, &id))) << path;
    EXPECT_EQ(id.number, 2);
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

// A name, and what it maps to; null: refused.
struct Mapping {
    int option;
    const char *from, *to;
};

void check(const Mapping &mapping, int (*map)(const char *, int, char *, int)) {
    char buffer[32] = "kept", small[4];
    const int result = map(mapping.from, mapping.option, buffer, sizeof buffer);
    EXPECT_STREQ(buffer, mapping.to ? mapping.to : "kept") << mapping.from;
    EXPECT_TRUE(mapping.to ? result == 0 : bool(refuses(-1, result))) << mapping.from;
    EXPECT_TRUE(gives(-1, mapping.to ? ERR_NOT_ENOUGH_MEMORY : ERR_BAD_PARAMETERS,
                      map(mapping.from, mapping.option, small, sizeof small)));
}

TEST(Names, PathsOfVolumesGroupsAndArraysBelongToEachOther) {
    constexpr Mapping kMappings[] = {
        {VOLUME_TO_VG, "/volume1", "/dev/vg1"},
        {VOLUME_TO_VG, "/volumeX1", nullptr},
        {VOLUME_TO_VG, "/volume", nullptr},
        {VOLUME_TO_RAID, "/volume1", "/dev/md2"},
        {VOLUME_TO_RAID, "/volume99", "/dev/md100"},
        {VOLUME_TO_RAID, "/volume0", nullptr},
        {VOLUME_TO_RAID, "/volume100", nullptr},
        {VOLUME_TO_RAID, "/volumeX1", "/dev/md101"},
        {VOLUME_TO_RAID, "/volumeX0", nullptr},
        {VOLUME_TO_RAID, "/volumeUSB1", nullptr},
        {RAID_TO_VOLUME, "/dev/md2", "/volume1"},
        {RAID_TO_VOLUME, "/dev/md100", "/volume99"},
        {RAID_TO_VOLUME, "/dev/md1", nullptr},
        {RAID_TO_VOLUME, "/dev/md101", "/volumeX1"},
        {RAID_TO_VOLUME, "/dev/md02", nullptr},
        {RAID_TO_VOLUME, "/dev/md2p1", nullptr},
        {VG_TO_VOLUME, "/dev/vg3", "/volume3"},
        {VG_TO_VOLUME, "/dev/vgdata", nullptr},
        {5, "/dev/vg3", nullptr},
    };
    for (const Mapping &mapping : kMappings)
        check(mapping, VolumePathSwitch);
}

TEST(Names, ALogicalVolumeBelongsToItsGroup) {
    constexpr Mapping kMappings[] = {
        {1, "/dev/vg1/lv", "/dev/vg1"},
        {1, "/dev/mapper/vg1-lv", "/dev/vg1"},
        {1, "/dev/mapper/vg1--a-lv", nullptr},
        {1, "/dev/mapper/vg12-volume--1", "/dev/vg12"},
        {1, "/dev/mapper/vg1-", nullptr},
        {1, "/dev/mapper/luks-1", nullptr},
        {1, "/dev/mapper/vg1-a/b", nullptr},
        {1, "/dev/vg1", nullptr},
        {1, "/dev/vg1/", nullptr},
        {1, "/dev/md2", nullptr},
        {1, "/dev/vgx/lv", nullptr},
        {1, "tmpfs", nullptr},
        {2, "/dev/vg1/lv", nullptr},
    };
    for (const Mapping &mapping : kMappings)
        check(mapping, LVMPathSwitch);
    EXPECT_TRUE(refuse_nulls(-1, VolumePathParse, MORVVolIDParse, VolumePathSwitch, LVMPathSwitch));
}

}  // namespace
