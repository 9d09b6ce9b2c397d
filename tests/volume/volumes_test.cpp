#include <gtest/gtest.h>
#include <linux/major.h>
#include <linux/raid/md_u.h>
#include <morvsdk/error.h>
#include <morvsdk/volume.h>

#include <memory>

#include "support/alloc_fault.h"
#include "support/outcome.h"
#include "volume/storage.h"

namespace {

using namespace testing_support;

struct Freer {
    void operator()(VOLUME_INFO *info) const { VolumeInfoFree(info); }
    void operator()(VOLUME_INFO_LIST *list) const { VolumeInfoListFree(list); }
};
using Volume = std::unique_ptr<VOLUME_INFO, Freer>;
using Volumes = std::unique_ptr<VOLUME_INFO_LIST, Freer>;

struct Lookup : testing::Test {
    Lookup() { fail_ioctl(0, 0); }
    ~Lookup() override { fail_ioctl(0, 0); }

    Volume get(const char *path) {
        VOLUME_INFO *info = nullptr;
        result = VolumeInfoGet(path, &info);
        return Volume(info);
    }

    // "/volume1:LVM:md2,md3" for each volume.
    static std::string show(const VOLUME_INFO &info) {
        const char *const kind = info.kind == VOLUME_ON_LVM    ? "LVM"
                                 : info.kind == VOLUME_ON_RAID ? "RAID"
                                 : info.kind == VOLUME_ON_DISK ? "disk"
                                                               : "?";
        std::string text = std::string(info.szPath) + ":" + kind + ":";
        for (const RAID_LIST *node = info.pRaids; node; node = node->pNext)
            text += std::string(node->pInfo->szPath + 5) + (node->pNext ? "," : "");
        return text;
    }
    std::string look_up(const char *path) {
        const Volume info = get(path);
        return info ? show(*info) : std::to_string(result);
    }
    Volumes list() {
        VOLUME_INFO_LIST *read = nullptr;
        result = VolumeInfoEnum(&read);
        return Volumes(read);
    }
    static std::string show(const VOLUME_INFO_LIST *list) {
        std::string text;
        for (; list; list = list->pNext)
            text += show(*list->pInfo) + (list->pNext ? " " : "");
        return text;
    }

    StorageRoot<> root;
    int result = 0;
};

TEST_F(Lookup, FindsWhatLiesUnderAMountedVolume) {
    root.array(2, "raid1", {"in_sync", "in_sync"});
    root.array(3, "raid5", {"in_sync", "in_sync", "faulty"});
    root.array(4, "raid1", {"in_sync", "in_sync"});
    root.array(101, "raid1", {"in_sync", "in_sync"});
    root.write("tmp/lvm.status", "[/dev/vg4]\n/dev/md3=0\n/dev/md4=1\n/dev/md9=0\n/dev/sdz3=0\n/dev/md2=0\n");
    root.mounts(
        "/dev/md2 /volume1 ext4 rw 0 0\n"
        "/dev/md7 /volume2 ext4 rw 0 0\n"
        "/dev/sdq1 /volumeUSB1/share vfat rw 0 0\n"
        "/dev/mapper/vg4-lv /volume4 ext4 rw 0 0\n"
        "/dev/vg3/lv /volume3 ext4 rw 0 0\n"
        "/dev/md101 /volumeX1 ext4 rw 0 0\n"
        "tmpfs /volume5 tmpfs rw 0 0\n");
    EXPECT_EQ(look_up("/volume1"), "/volume1:RAID:md2");
    EXPECT_EQ(look_up("/volume2"), "/volume2:RAID:");  // the array is gone
    EXPECT_EQ(look_up("/volume3"),
              "/volume3:LVM:md4");  // a group that nobody told of: the array by its number
    EXPECT_EQ(look_up("/volume4"), "/volume4:LVM:md3,md2");
    EXPECT_EQ(look_up("/volume5"), "/volume5:?:");
    EXPECT_EQ(look_up("/volumeX1"), "/volumeX1:RAID:md101");
    EXPECT_EQ(look_up("/volumeUSB1/share"), "/volumeUSB1/share:disk:");
    const Volume info = get("/volume4");
    EXPECT_EQ(result, 1);
    EXPECT_EQ(info->number, 4);
    EXPECT_EQ(info->location, VOLUME_INTERNAL);
    EXPECT_STREQ(info->pFs->szDevice, "/dev/mapper/vg4-lv");
    EXPECT_STREQ(info->pVg->szPath, "/dev/vg4");
}

TEST_F(Lookup, FindsWhatLiesUnderAVolumeThatIsNotMounted) {
    root.array(2, "raid1", {"in_sync", "in_sync"});
    root.array(3, "raid1", {"in_sync", "in_sync"});
    root.array(102, "raid1", {"in_sync", "in_sync"});
    root.write("tmp/lvm.status", "[/dev/vg2]\n/dev/md2=0\n[/dev/vg7]\n/dev/md8=0\n");
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(look_up("/volume1"), "/volume1:RAID:md2");
    EXPECT_EQ(MLIBErrGet(), ERR_SUCCESS);
    EXPECT_EQ(look_up("/volume2"), "/volume2:LVM:md2");
    EXPECT_EQ(look_up("/volume7"), "/volume7:LVM:");
    EXPECT_EQ(look_up("/volumeX2"), "/volumeX2:RAID:md102");
    for (const char *path : {"/volume3", "/volume0", "/volume02", "/volumeX0", "/volumeUSB1"})
        EXPECT_EQ(look_up(path), "0") << path;
    // An appliance without arrays.
    root.write("etc.defaults/morvinfo.conf", "supportraid=\"no\"\n");
    EXPECT_EQ(look_up("/volume2"), "0");
    EXPECT_EQ(look_up("/volumeX2"), "/volumeX2:RAID:md102");
}

TEST_F(Lookup, AnswersWhyItFailed) {
    root.array(2, "raid1", {"in_sync", "in_sync"});
    const std::string mounted = "/dev/md2 /volume1 ext4 rw 0 0\n";
    MLIBErrSet(ERR_SUCCESS);
    get("/music");
    EXPECT_TRUE(refuses(-1, result));
    get(("/volumeUSB" + std::string(118, 'x')).c_str());
    EXPECT_TRUE(refuses(-1, result));
    root.mounts("/dev/" + std::string(130, 'x') + " /volume1 ext4 rw 0 0\n");
    get("/volume1");
    EXPECT_TRUE(gives(-1, ERR_UNKNOWN, result));
    // What the layers below say stands.
    root.mounts(mounted);
    fail_ioctl(GET_ARRAY_INFO, EIO);
    get("/volume1");
    EXPECT_STREQ(MORVErrorGetFile(), "raid_info_get");
    EXPECT_TRUE(gives(-1, ERR_UNKNOWN, result));
    fail_ioctl(0, 0);
    // One that stops while it is read is not there.
    fail_ioctl(kSyncStatusRequest, ENODEV);
    EXPECT_EQ(look_up("/volume1"), "/volume1:RAID:");
    fail_ioctl(0, 0);
    // An array that runs but cannot be read may be crashed.
    remove(root.path("sys/block/md2/md/dev-sda3/state").c_str());
    get("/volume1");
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, result));
    root.mounts("");
    root.write("tmp/lvm.status", std::string((1U << 20) + 1, '\n'));
    get("/volume1");
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, result));
    root.write("tmp/lvm.status", "[/dev/vg1]\n/dev/md2\n");
    get("/volume1");
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, result));
    remove(root.path("proc/mounts").c_str());
    get("/volume1");
    EXPECT_TRUE(gives(-1, ERR_UNKNOWN, result));
    list();
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, result));
    EXPECT_TRUE(refuse_nulls(-1, VolumeInfoGet, VolumeInfoEnum, VolumeInfoListPush, VolumeHealthyCheck,
                             VolumeIsWritable));
    EXPECT_TRUE(refuses(0, VolumeInfoListSearch(nullptr, nullptr, nullptr)));
}

TEST_F(Lookup, EnumerationListsEachVolumeOnce) {
    for (const int number : {0, 1, 2, 3, 4, 5, 6, 101})
        root.array(number, "raid1", {"in_sync", "in_sync"});
    remove(root.path("sys/block/md6/md/level").c_str());  // known to sysfs only
    root.write("tmp/lvm.status", "[/dev/vg8]\n/dev/md4=0\n[/dev/vg3]\n/dev/md2=1\n/dev/md3=0\n");
    root.mounts(
        "/dev/mapper/vg3-lv /volume3 ext4 rw 0 0\n"
        "/dev/sdq1 /volumeUSB1 vfat rw 0 0\n"
        "/dev/md5 /volume4 ext4 rw 0 0\n"
        "tmpfs /volume4/tmp tmpfs rw 0 0\n"
        "/dev/md5 /volume4 ext4 rw 0 0\n");
    Volumes found = list();
    // The array of the missing physical volume stands for the volume that its number says.
    EXPECT_EQ(show(found.get()),
              "/volume3:LVM:md3 /volume4:RAID:md5 /volume8:LVM:md4 /volumeX1:RAID:md101 /volume1:RAID:md2");
    EXPECT_EQ(result, 5);
    found.reset(VolumeInfoListSort(found.release()));
    EXPECT_EQ(show(found.get()),
              "/volume1:RAID:md2 /volume3:LVM:md3 /volume4:RAID:md5 /volume8:LVM:md4 /volumeX1:RAID:md101");
    // A node without a record is nobody's.
    VOLUME_INFO_LIST nobody = {nullptr, found.release()};
    found.reset(VolumeInfoListSort(&nobody));
    VOLUME_INFO_LIST *last = found.get();
    for (int i = 0; i < 4; ++i)
        last = last->pNext;
    EXPECT_EQ(std::exchange(last->pNext, nullptr), &nobody);
    EXPECT_EQ(VolumeCount(found.get(), 0), 5);
    EXPECT_EQ(VolumeCount(found.get(), VOLUME_INTERNAL), 4);
    EXPECT_EQ(VolumeCount(found.get(), VOLUME_EXPANSION), 1);
    EXPECT_TRUE(refuses(-1, VolumeCount(found.get(), VOLUME_USB)));

    constexpr struct {
        int mode;
        const char *key, *path;
    } kSearches[] = {
        {VOLUME_SEARCH_DEVICE, "/dev/mapper/vg3-lv", "/volume3"},
        {VOLUME_SEARCH_DEVICE, "/dev/md2", nullptr},
        {VOLUME_SEARCH_VG, "/dev/vg8", "/volume8"},
        {VOLUME_SEARCH_RAID, "/dev/md4", "/volume8"},
        {VOLUME_SEARCH_RAID, "/dev/sda3", nullptr},
        {VOLUME_SEARCH_MEMBER, "/dev/sda3", "/volume1"},
        {VOLUME_SEARCH_MEMBER, "/dev/md5", "/volume4"},
    };
    for (const auto &[mode, key, path] : kSearches) {
        const VOLUME_CRITERIA criteria = {mode, key};
        VOLUME_INFO *info = nullptr;
        EXPECT_EQ(VolumeInfoListSearch(found.get(), &criteria, &info), path ? 1 : 0) << key;
        EXPECT_STREQ(info ? info->szPath : nullptr, path) << key;
    }
    const VOLUME_CRITERIA odd = {3, "/dev/md2"};
    EXPECT_TRUE(refuses(0, VolumeInfoListSearch(found.get(), &odd, nullptr)));
}

TEST_F(Lookup, EnumerationGivesAllOrNothing) {
    root.array(2, "raid1", {"in_sync", "in_sync"});
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(list());
    root.write("tmp/lvm.status", "[/dev/vgdata]\n/dev/md2=0\n");
    EXPECT_FALSE(list());
    EXPECT_TRUE(refuses(-1, result));
    root.write("tmp/lvm.status", "");
    root.write("etc.defaults/morvinfo.conf", "supportraid=no\n");
    EXPECT_FALSE(list());
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, result));
    remove(root.path("etc.defaults/morvinfo.conf").c_str());

    root.write("tmp/lvm.status", "[/dev/vg5]\n/dev/md2=0\n");
    root.mounts("/dev/md2 /volume1 ext4 rw 0 0\n/dev/mapper/vg5-lv /volume5 ext4 rw 0 0\n");
    EXPECT_GT(for_each_alloc_fault([&](int) {
                  VOLUME_INFO_LIST *read = nullptr;
                  const int count = VolumeInfoEnum(&read);
                  const bool reached = AllocFault::disarm();
                  const Volumes owner(read);
                  EXPECT_TRUE(count == 2 || (count == -1 && !read && MLIBErrGet() == ERR_OUT_OF_MEMORY))
                      << count;
                  return reached;
              }),
              15);
}

// Arrays and groups as literals, linked where they stand.
struct Built {
    FS_INFO fs = {};
    LVM_PV pvs[2] = {};
    LVM_VG_INFO vg = {};
    RAID_INFO raids[2] = {};
    RAID_LIST nodes[2] = {};
    VOLUME_INFO info = {};

    Built() {
        info.pFs = &fs;
        fs.state = FS_STATE_CLEAN;
    }
    Built &pv(int nth, const char *path, int status) {
        snprintf(pvs[nth].szPath, sizeof pvs[nth].szPath, "%s", path);
        pvs[nth].status = status;
        if (nth > 0) pvs[0].pNext = &pvs[1];
        vg.pPvs = pvs;
        info.pVg = &vg;
        return *this;
    }
    Built &raid(int nth, int number, int type, int status, int slots = 2) {
        raids[nth].number = number;
        raids[nth].type = type;
        raids[nth].status = status;
        raids[nth].raidDisks = slots;
        nodes[nth].pInfo = &raids[nth];
        if (nth > 0) nodes[0].pNext = &nodes[1];
        info.pRaids = nodes;
        return *this;
    }
    // With the flags as a number when it is -1 or writable, with a minus sign when it is not.
    int health() const {
        int32_t flags = -1, again = -1;
        EXPECT_EQ(VolumeHealthyCheck(&info, &flags), 0);
        const int writable = VolumeIsWritable(&info, &again);
        EXPECT_EQ(flags, again);
        return writable == 1 ? flags : -flags;
    }
};

TEST(Health, TellsWhatIsWrong) {
    const ScratchRoot root;  // without system arrays: nothing is said of them
    constexpr int kNormal = RAID_NORMAL, kDegraded = RAID_DEGRADED, kCrashed = RAID_CRASHED;
    const auto of_arrays = [](int first, int second) {
        return Built().raid(0, 2, RAID_TYPE_RAID5, first).raid(1, 3, RAID_TYPE_RAID5, second).health();
    };
    const auto of_volumes = [](const char *path, int first, int second) {
        return Built().pv(0, path, first).pv(1, "/dev/md101", second).health();
    };
    EXPECT_EQ(of_arrays(kNormal, kNormal), 0);
    EXPECT_EQ(of_arrays(kNormal, kDegraded), 16);
    EXPECT_EQ(of_arrays(kCrashed, kNormal), -32);
    EXPECT_EQ(of_arrays(kDegraded, kCrashed), -48);
    EXPECT_EQ(of_volumes("/dev/md100", 0, 0), 0);
    EXPECT_EQ(of_volumes("/dev/md100", 1, 0), -4);
    EXPECT_EQ(of_volumes("/dev/md2", 0, 1), -8);
    EXPECT_EQ(of_volumes("/dev/sda3", 1, 1), -8);
    EXPECT_EQ(of_volumes("/dev/md2", 1, 1), -12);
    Built built;
    built.fs.state = FS_STATE_UNKNOWN;
    EXPECT_EQ(built.health(), 0);
    built.fs.state = FS_STATE_ERRORS;
    EXPECT_EQ(built.health(), -2);
    built.info.pFs = nullptr;
    EXPECT_EQ(built.health(), -1);
    built.raid(0, 2, RAID_TYPE_RAID5, RAID_CRASHED).nodes[0].pInfo = nullptr;
    int32_t flags = 7;
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, VolumeHealthyCheck(&built.info, &flags)));
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, VolumeIsWritable(&built.info, &flags)));
    EXPECT_EQ(flags, 7);
}

TEST_F(Lookup, ADiskOfAnInternalArrayHasToServeBothSystemArrays) {
    const std::vector<std::string> both = {"in_sync", "in_sync"}, first = {"in_sync"},
                                   faulty = {"in_sync", "faulty"};
    const struct {
        std::vector<std::string> md0, md1;
        int number, flags;
    } cases[] = {
        {both, both, 2, 0},     {both, faulty, 2, 64},  {both, first, 2, 64},
        {first, first, 99, 64}, {first, first, 100, 0},
    };
    for (const auto &[md0, md1, number, flags] : cases) {
        const StorageRoot<> machine;
        machine.array(0, "raid1", md0, 1);
        machine.array(1, "raid1", md1, 2);
        machine.array(number, "raid1", both);
        machine.mounts("/dev/md" + std::to_string(number) + " /volume1 xfs rw 0 0\n");
        const Volume info = get("/volume1");
        int32_t found = -1;
        EXPECT_EQ(VolumeIsWritable(info.get(), &found), 1);
        EXPECT_EQ(found, flags) << number;
    }
}

TEST(Health, ABasicVolumeIsOneOfOneDisk) {
    const ScratchRoot root;
    root.write("etc/morvinfo.conf", "md2_level=\"99\"\nmd3_level=\"1\"\n");
    constexpr struct {
        int number, type, slots, basic;
    } kArrays[] = {
        {2, RAID_TYPE_RAID0, 1, 1}, {2, RAID_TYPE_RAID0, 2, 0}, {4, RAID_TYPE_RAID1, 1, 1},
        {2, RAID_TYPE_RAID1, 2, 1}, {3, RAID_TYPE_RAID1, 2, 0}, {4, RAID_TYPE_RAID1, 2, 0},
        {2, RAID_TYPE_RAID5, 1, 0},
    };
    for (const auto &[number, type, slots, basic] : kArrays) {
        Built built;
        EXPECT_EQ(VolumeIsBasic(&built.raid(0, number, type, RAID_NORMAL, slots).info), basic)
            << number << type;
    }
    Built built;
    MLIBErrSet(ERR_SUCCESS);
    EXPECT_EQ(VolumeIsBasic(&built.info), 0);
    built.info.kind = VOLUME_ON_DISK;
    EXPECT_EQ(VolumeIsBasic(&built.info), 1);
    EXPECT_EQ(VolumeIsBasic(&built.pv(0, "/dev/md2", 0).pv(1, "/dev/md3", 0).info), 0);
    EXPECT_TRUE(gives(0, ERR_SUCCESS, VolumeIsBasic(nullptr)));
    // Nothing is wrong with what is not marked.
    for (const char *name : {"", "etc/morvinfo.conf"}) {
        remove((root.dir() + "/" + name).c_str());
        Built raid1;
        EXPECT_TRUE(
            gives(0, ERR_SUCCESS, VolumeIsBasic(&raid1.raid(0, 4, RAID_TYPE_RAID1, RAID_NORMAL).info)));
    }
}

}  // namespace
