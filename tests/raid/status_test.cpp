// What is told of an array.
#include <linux/major.h>

#include "raid/arrays.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

TEST(RaidStatus, FollowsFromTheMembersAndTheLevel) {
    const struct {
        int level, slots;
        const char *members;  // a digit each: the member's status
        int status;
    } cases[] = {
        {0, 2, "00", RAID_NORMAL},    {0, 2, "01", RAID_CRASHED},       {-1, 2, "04", RAID_CRASHED},
        {1, 2, "00", RAID_NORMAL},    {1, 2, "01", RAID_DEGRADED},      {1, 2, "11", RAID_CRASHED},
        {1, 2, "44", RAID_CRASHED},   {1, 3, "0", RAID_DEGRADED},       {1, 1, "0", RAID_NORMAL},
        {5, 3, "000", RAID_NORMAL},   {5, 3, "001", RAID_DEGRADED},     {5, 3, "002", RAID_CRASHED},
        {5, 3, "003", RAID_DEGRADED}, {5, 3, "0004", RAID_NORMAL},      {5, 3, "04", RAID_CRASHED},
        {6, 4, "00", RAID_DEGRADED},  {6, 4, "0", RAID_CRASHED},        {10, 4, "000", RAID_CRASHED},
        {10, 4, "0000", RAID_NORMAL}, {5, 3, "0000", RAID_NORMAL},      {5, 3, "", RAID_CRASHED},
        {5, 3, "0002", RAID_CRASHED}, {1, INT32_MIN, "0", RAID_NORMAL},
    };
    for (const auto &c : cases) {
        mdu_array_info_t array = {};
        array.level = c.level;
        array.raid_disks = c.slots;
        RAID_DISK *disks = nullptr;
        for (const char *status = c.members; *status; ++status) {
            RAID_DISK *disk = static_cast<RAID_DISK *>(calloc(1, sizeof *disk));
            disk->status = *status - '0';
            EXPECT_EQ(RAIDDiskListPush(&disks, disk), 0);
        }
        int32_t status = 0;
        EXPECT_EQ(RAIDStatusDecide(&array, disks, &status), 0);
        EXPECT_EQ(status, c.status) << "level " << c.level << " of " << c.slots << ": " << c.members;
        RAIDDiskListFree(disks);
    }
}

TEST(RaidInfo, TellsAllOfAnArray) {
    Machine machine;
    machine.array(2, "raid5", 3,
                  {{"sda3", "in_sync,write_mostly", "0"},
                   {"sdb3", "faulty,blocked", "none"},
                   {"sdc3", "spare", "2"},
                   {"sdd3", "spare", "none"},
                   {"sde3", "write_error", "1"},
                   {"vdf", "blocked", "1"}},
                  3000000);
    const Info info = info_of("/dev/md2");
    EXPECT_EQ(info->number, 2);
    EXPECT_EQ(info->firstDisk, -1);
    EXPECT_STREQ(info->szPath, "/dev/md2");
    EXPECT_EQ(info->type, RAID_TYPE_RAID5);
    EXPECT_EQ(info->status, RAID_CRASHED);
    EXPECT_EQ(info->deviceSize, 8000U * 512);
    EXPECT_EQ(info->componentSize, 3000000ULL * 1024) << "more than 2 GiB";
    EXPECT_EQ(info->raidDisks, 3);
    EXPECT_EQ(info->rebuild.state, RAID_REBUILD_NONE);
    const std::pair<const char *, int> members[] = {
        {"/dev/vdf", RAID_DISK_IN_SYNC}, {"/dev/sde3", RAID_DISK_ERROR},
        {"/dev/sdd3", RAID_DISK_SPARE},  {"/dev/sdc3", RAID_DISK_REBUILDING},
        {"/dev/sdb3", RAID_DISK_FAULTY}, {"/dev/sda3", RAID_DISK_IN_SYNC}};
    const RAID_DISK *disk = info->pDisks;
    for (const auto &[path, status] : members) {
        ASSERT_TRUE(disk) << path;
        EXPECT_STREQ(disk->szPath, path);
        EXPECT_EQ(disk->status, status) << path;
        disk = disk->pNext;
    }
    EXPECT_FALSE(disk);
    EXPECT_EQ(RAIDDiskCount(info->pDisks, RAID_DISK_IN_SYNC), 2);
    EXPECT_EQ(RAIDDiskListSearch(info->pDisks, "/dev/sdd3", nullptr), 1);
    EXPECT_EQ(RAIDDiskListSearch(info->pDisks, "/dev/sdd", nullptr), 0);
}

TEST(RaidInfo, KnowsTheLevelsAndTheFirstDisk) {
    Machine machine;
    const struct {
        const char *level;
        int type;
        const char *member;
        int first;
    } cases[] = {{"raid0", RAID_TYPE_RAID0, "sdab", 0},
                 {"raid1", RAID_TYPE_RAID1, "sdcZ", 2},
                 {"raid6", RAID_TYPE_RAID6, "sda", -1},
                 {"linear", RAID_TYPE_LINEAR, "sdb1", -1},
                 {"raid10", 0, "sdabc", -1},
                 {"raid4", 0, "xdab", -1}};
    int number = 10;
    for (const auto &c : cases) {
        machine.array(number, c.level, 1, {{c.member}});
        const Info info = info_of(("/dev/md" + std::to_string(number++)).c_str());
        EXPECT_EQ(info->type, c.type) << c.level;
        EXPECT_EQ(info->firstDisk, c.first) << c.member;
    }
}

TEST(RaidInfo, FollowsAResyncByTheAppliancesCallOrByTheFilesOfOthers) {
    Machine machine;
    machine.array(2, "raid1", 2, {{"sda3"}, {"sdb3", "spare", "1"}});
    const std::string md = "sys/block/md2/md/";
    const struct {
        const char *action, *completed;
        RAID_REBUILD expected;
    } files[] = {{"idle", "none", {0, {0, 0}}},
                 {"frozen", "none", {0, {0, 0}}},
                 {"resync", "none", {2, {0, 0}}},
                 {"resync", "delayed", {2, {0, 0}}},
                 {"recover", "0 / 2000", {1, {1, 2000}}},
                 {"reshape", "100 / 2000", {1, {100, 2000}}},
                 {"check", "4000000000 / 8000000000", {1, {1000000000, 2000000000}}},
                 {"recover", "99999999999999999999 / 1", {2, {0, 0}}},
                 {"recover", "5", {2, {0, 0}}},
                 {"recover", "5 / x", {2, {0, 0}}}};
    const auto expect = [](const RAID_REBUILD &expected, const std::string &what) {
        const Info info = info_of("/dev/md2");
        EXPECT_EQ(info->rebuild.state, expected.state) << what;
        EXPECT_EQ(info->rebuild.progress[0], expected.progress[0]) << what;
        EXPECT_EQ(info->rebuild.progress[1], expected.progress[1]) << what;
    };
    for (const auto &c : files) {
        machine.write(md + "sync_action", std::string(c.action) + "\n");
        machine.write(md + "sync_completed", std::string(c.completed) + "\n");
        expect(c.expected, std::string(c.action) + " " + c.completed);
    }
    // A file that is there but cannot be read does not mean that nothing is going on.
    machine.write(md + "sync_action", "");
    RAID_INFO *info = nullptr;
    EXPECT_TRUE(gives(-1, ERR_UNKNOWN, RAIDInfoGet("/dev/md2", &info)));
    // Where the kernel answers itself, the files do not count.
    const std::pair<const char *, RAID_REBUILD> words[] = {{"0 7 9", {0, {0, 0}}},
                                                           {"1 0 9", {2, {0, 0}}},
                                                           {"5 7 9", {1, {7, 9}}},
                                                           {"1 4294967295 9", {1, {-1, 9}}}};
    for (const auto &[text, expected] : words) {
        machine.write(md + "sync_status", text);
        expect(expected, text);
    }
}

TEST(RaidInfo, TellsSizesBeyondTheKernelsDescription) {
    Machine machine;
    machine.array(2, "raid1", 2, {{"sda3"}, {"sdb3"}}, 4000000000);
    EXPECT_EQ(info_of("/dev/md2")->componentSize, 4000000000ULL * 1024);
    machine.write("sys/block/md2/md/component_size", "99999999999999999999\n");
    uint64_t kib;
    EXPECT_GT(info_of("/dev/md2")->componentSize, UINT64_MAX - 2048) << "larger than every disk";
    machine.disk("sdz", 1 << 30);
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_SPACE, RAIDAddRobustCheck("/dev/md2", "/dev/sdz")));
    machine.disk("sda3", 1 << 30);
    EXPECT_EQ(RAIDExpansible(info_of("/dev/md2").get(), &kib), 0);
}

TEST(RaidInfo, SaysWhyAnArrayCannotBeRead) {
    Machine machine;
    machine.array(2, "raid1", 2, {{"sda3"}, {"sdb3", "spare", "1"}});
    machine.write("dev/md7", "");
    RAID_INFO *info = nullptr;
    EXPECT_TRUE(gives(0, 0, RAIDInfoGet("/dev/md7", &info))) << "in /sys, or in /dev alone, an array is none";
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, RAIDInfoGet("/dev/md8", &info)));
    for (const char *path : {"", "/dev/md", "/dev/md2x", "/dev/md2p1", "/dev/md-2", "/dev/md 2", "/dev/sda3",
                             "md2", "/dev/md99999999999", "/dev/md/2"}) {
        EXPECT_TRUE(gives(-1, ERR_INVALID_ARRAY, RAIDInfoGet(path, &info))) << path;
    }
    EXPECT_TRUE(refuses(-1, RAIDInfoGet(("/dev/md" + std::string(200, '0') + "2").c_str(), &info)));

    const std::string state = "sys/block/md2/md/dev-sda3/state";
    const struct {
        const char *file, *content;
        int code;
    } cases[] = {{"state", "", ERR_READ_FAILED}, {"state", nullptr, ERR_OPEN_FAILED},
                 {"state", "in_sync", 0},        {"state", "spare", 0},
                 {"slot", "", ERR_READ_FAILED},  {"slot", nullptr, ERR_OPEN_FAILED}};
    for (const auto &c : cases) {
        const std::string file = machine.path(std::string("sys/block/md2/md/dev-sda3/") + c.file);
        if (c.content) {
            write_file(file, c.content);
        } else {
            ASSERT_EQ(unlink(file.c_str()), 0);
        }
        EXPECT_TRUE(gives(c.code ? -1 : 1, c.code, RAIDInfoGet("/dev/md2", &info))) << c.file;
        if (c.code == 0) RAIDInfoFree(info);
    }
    machine.write(state, std::string(1 << 20, 'x'));
    RAIDInfoFree(info_of("/dev/md2").release());
    // One that has left since it was listed.
    ASSERT_EQ(symlink("gone", machine.path("sys/block/md2/md/dev-sdc3").c_str()), 0);
    EXPECT_EQ(RAIDDiskCount(info_of("/dev/md2")->pDisks, RAID_DISK_IN_SYNC), 1);

    for (const unsigned long request : {static_cast<unsigned long>(GET_ARRAY_INFO), kSyncStatusRequest}) {
        fail_ioctl(request, EIO);
        EXPECT_TRUE(gives(-1, ERR_UNKNOWN, RAIDInfoGet("/dev/md2", &info)));
    }
    fail_ioctl(kSyncStatusRequest, ENODEV);
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, RAIDInfoGet("/dev/md2", &info)));
    fail_ioctl(GET_ARRAY_INFO, ENODEV);
    EXPECT_TRUE(gives(0, 0, RAIDInfoGet("/dev/md2", &info)));
}

TEST(RaidInfo, LeaksNothingWhateverFails) {
    Machine machine;
    machine.array(2, "raid5", 3, {{"sda3"}, {"sdb3"}, {"sdc3", "spare", "2"}});
    machine.tool("sbin/mdadm", "echo ARRAY /dev/md2 level=raid5 num-devices=3 UUID=a:b");
    const int open_before = open_descriptors();
    const Names devices = names_of({"/dev/sda3", "/dev/sdb3"});
    int faults = for_each_sys_fault([&](Sys which, int nth) {
        RAID_INFO *info = nullptr;
        RAID_SB_LIST *found = nullptr;
        SysFault fault(which, nth);
        const int answer = RAIDInfoGet("/dev/md2", &info);
        EXPECT_EQ(answer == 1, info != nullptr) << sys_name(which) << nth;
        RAIDInfoFree(info);
        RAIDScan(devices.get(), RAID_SCAN_ALL, &found);
        RAIDScanFree(found);
        return fault.reached();
    });
    EXPECT_GT(faults, 20);
    EXPECT_EQ(open_descriptors(), open_before);
}

TEST(RaidPathEnum, ListsTheArraysThatRun) {
    Machine machine;
    Names none = names_of({});
    MLIBSZLIST *list = none.release();
    EXPECT_EQ(RAIDPathEnum(&list), 0) << "without a /sys";
    machine.array(2, "raid1", 2, {{"sda3"}});
    machine.array(101, "raid1", 2, {{"sda3"}});
    machine.array(10, "raid1", 2, {{"sda3"}});
    machine.write("sys/block/md3/md/array_state", "clear\n");  // in /sys, but without an array
    machine.write("dev/md3", "");
    machine.write("sys/block/md_d4/md/level", "raid1\n");
    machine.write("dev/md_d4", "");
    EXPECT_EQ(RAIDPathEnum(&list), 0);
    const Names names(list);
    EXPECT_EQ(texts_of(names), (std::vector<std::string>{"/dev/md10", "/dev/md101", "/dev/md2"}));
    EXPECT_EQ(RAIDIsDetected("/dev/md2"), 1);
    EXPECT_EQ(RAIDIsDetected("/dev/md3"), 0);
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, RAIDIsDetected("/dev/md4")));
}

TEST(RaidList, KeepsTheFirstAndFindsByPathMemberAndResync) {
    Machine machine;
    machine.array(2, "raid1", 2, {{"sda3"}});
    machine.array(3, "raid0", 2, {{"sdb3"}});
    machine.array(4, "raid5", 3, {{"sdc3"}});
    for (const char *name : {"md3", "md4"}) {
        machine.write(std::string("sys/block/") + name + "/md/sync_status", "1 5 9");
    }
    RAID_LIST *list = nullptr;
    EXPECT_EQ(RAIDListSearch(list, nullptr, nullptr), -1);
    for (const char *path : {"/dev/md2", "/dev/md3", "/dev/md4"})
        EXPECT_EQ(RAIDListPush(&list, info_of(path).release()), 0);
    std::string order;
    for (const RAID_LIST *node = list; node; node = node->pNext)
        order += std::to_string(node->pInfo->number);
    EXPECT_EQ(order, "243");

    const int32_t no = 0, yes = 1, other = 2;
    const struct {
        RAID_CRITERIA criteria;
        int number;  // 0: none
    } cases[] = {
        {{"/dev/md3", nullptr, RAID_SEARCH_ARRAY}, 3},   {{"/dev/md5", nullptr, RAID_SEARCH_ARRAY}, 0},
        {{"/dev/sdc3", nullptr, RAID_SEARCH_MEMBER}, 4}, {{"/dev/md3", nullptr, RAID_SEARCH_MEMBER}, 0},
        {{nullptr, &no, RAID_SEARCH_ARRAY}, 2},          {{nullptr, &yes, RAID_SEARCH_MEMBER}, 4},
        {{nullptr, &other, RAID_SEARCH_ARRAY}, 0},       {{"/dev/md3", &yes, RAID_SEARCH_ARRAY}, 4}};
    RAID_INFO *const first = list->pInfo;
    for (const bool has_hole : {false, true}) {
        list->pInfo = has_hole ? nullptr : first;
        for (const auto &c : cases) {
            RAID_INFO *info = nullptr;
            const int number = has_hole && c.number == 2 ? 0 : c.number;
            EXPECT_EQ(RAIDListSearch(list, &c.criteria, &info), number ? 1 : 0);
            EXPECT_EQ(info ? info->number : 0, number);
        }
    }
    list->pInfo = first;
    const RAID_CRITERIA no_mode = {"/dev/md2", nullptr, 3}, flag_alone = {nullptr, &yes, 0};
    EXPECT_TRUE(refuses(-1, RAIDListSearch(list, &no_mode, nullptr)));
    EXPECT_EQ(RAIDListSearch(list, &flag_alone, nullptr), 1);
    RAIDListFree(list);
}

TEST(RaidSystem, TellsHowADiskServesTheSystemArrays) {
    Machine machine;
    RAID_SYSTEM system;
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, RAIDSystemGet(&system)));
    machine.array(0, "raid1", 4, {{"sda1"}, {"sdb1"}, {"sdc1", "faulty"}, {"sdd1", "spare", "none"}});
    machine.write("dev/md1", "");
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, RAIDSystemGet(&system)));
    machine.array(1, "raid1", 4,
                  {{"sda2"}, {"sdc2"}, {"sdd2", "in_sync,write_error"}, {"sde2", "spare", "1"}});
    ASSERT_EQ(RAIDSystemGet(&system), 0);
    const struct {
        const char *disk;
        int answer, repair;
    } cases[] = {{"/dev/sda", 1, 0}, {"/dev/sda3", 1, 0}, {"/dev/sdb", 1, 1}, {"/dev/sdc", 1, 1},
                 {"/dev/sdd", 1, 1}, {"/dev/sde", 1, 1},  {"/dev/sdf", 0, 7}};
    for (const auto &c : cases) {
        int repair = 7;
        EXPECT_EQ(RAIDSystemDiskStatusGet(&system, c.disk, &repair), c.answer) << c.disk;
        EXPECT_EQ(repair, c.repair) << c.disk;
    }
    RAIDSystemFree(&system);
    EXPECT_FALSE(system.pMd0);
}

}  // namespace
