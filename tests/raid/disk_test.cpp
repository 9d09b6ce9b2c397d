// Sizes of disks, their partitions, and what an array asks of them.
#include <linux/blkpg.h>
#include <linux/fs.h>

#include "raid/arrays.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

TEST(DiskSize, IsReadOfDisksAndPartitions) {
    Machine machine;
    machine.disk("sda", 1000);
    machine.partition("sda", 3, 100, 900);
    machine.disk("nvme0n1", 2000);
    machine.write("sys/block/nvme0n1/nvme0n1p3/size", "1900\n");
    machine.write("sys/block/cciss!c0d0/size", "3000\n");
    const struct {
        const char *device;
        int answer;
        uint64_t sectors;
    } cases[] = {{"/dev/sda", 1, 1000},
                 {"/dev/sda3", 1, 900},
                 {"/dev/sda4", 0, 0},
                 {"/dev/sdb", 0, 0},
                 {"/dev/sdb1", 0, 0},
                 {"/dev/nvme0n1", 1, 2000},
                 {"/dev/nvme0n1p3", 1, 1900},
                 {"/dev/cciss/c0d0", 1, 3000},
                 {"sda", -1, 0},
                 {"/dev/../dev/sda", -1, 0},
                 {"/dev/", -1, 0}};
    for (const auto &c : cases) {
        uint64_t sectors = 0;
        EXPECT_EQ(DiskSizeGet(c.device, &sectors), c.answer) << c.device;
        EXPECT_EQ(sectors, c.sectors) << c.device;
    }
    uint64_t sectors;
    for (const char *text : {"", "x", "-5", "99999999999999999999", "12 34"}) {
        machine.write("sys/block/sda/size", text);
        EXPECT_TRUE(gives(-1, *text ? ERR_FORMAT_ERROR : ERR_READ_FAILED, DiskSizeGet("/dev/sda", &sectors)))
            << text;
    }
}

TEST(RaidGrowth, IsDecidedByTheSmallestMemberThatCanBeMeasured) {
    const struct {
        uint64_t sectors[2];  // of the members; 0: cannot be measured
        long long component;
        const char *limit;
        int answer;
        uint64_t kib;
    } cases[] = {{{100000, 200000}, 1000, nullptr, 1, 49920},
                 {{0, 200000}, 1000, nullptr, 1, 99904},
                 {{100000, 200000}, 49920, nullptr, 0, 0},
                 {{100000, 200000}, 49919, nullptr, 1, 49920},
                 {{127, 200000}, 0, nullptr, 0, 0},
                 {{255, 200000}, 0, nullptr, 0, 0},
                 {{0, 0}, 1000, nullptr, -1, 0},
                 {{5000000, 6000000}, 1000, "tmp/volume.1", 1, 1048576},
                 {{100000, 200000}, 1000, "tmp/volume.1", 1, 49920}};
    for (const auto &c : cases) {
        Machine machine;
        machine.array(2, "raid1", 2, {{"sda3"}, {"sdb3"}}, c.component);
        if (c.limit) machine.write(c.limit, "");
        if (c.sectors[0]) machine.disk("sda3", c.sectors[0]);
        if (c.sectors[1]) machine.disk("sdb3", c.sectors[1]);
        uint64_t kib = 0;
        EXPECT_EQ(RAIDExpansible(info_of("/dev/md2").get(), &kib), c.answer) << c.sectors[0];
        EXPECT_EQ(kib, c.kib) << c.sectors[0];
    }
}

TEST(RaidGrowth, NeedsMembersAsLargeAsTheLayoutAndTheLevelWant) {
    Machine machine;
    machine.disk("sda", 10000000);
    machine.partition("sda", 3, DISK_RESERVE_SMALL, 100000);
    machine.disk("sdb", 10000000);
    machine.partition("sdb", 3, DISK_RESERVE_SMALL + 1, 100000);
    const struct {
        int number;
        const char *level, *member;
        int answer;
        uint64_t bytes;
    } cases[] = {{2, "raid0", "sda3", 0, 0},
                 {3, "linear", "sdz3", 0, 0},
                 {4, "raid1", "sda3", 0, 1024000 + 1348945920ULL + 65536},
                 {100, "raid5", "sdb3", 0, 1024000 + 3216084480ULL + 65536},
                 {101, "raid5", "sdz3", 0, 1024000 + 65536},
                 {5, "raid1", "sdz3", -1, 0}};
    for (const auto &c : cases) {
        machine.array(c.number, c.level, 2, {{c.member}}, 1000);
        uint64_t bytes = 0;
        EXPECT_EQ(
            RAIDRequireDevSizeGet(info_of(("/dev/md" + std::to_string(c.number)).c_str()).get(), &bytes),
            c.answer);
        EXPECT_EQ(bytes, c.bytes) << c.number;
    }
}

TEST(RaidGrowth, AddsOnlyWhatIsLargeEnough) {
    Machine machine;
    machine.array(2, "raid1", 2, {{"sda3"}}, 1000);
    for (const auto &[sectors, code] : {std::pair{2000, 0}, {1999, int{ERR_NOT_ENOUGH_SPACE}}}) {
        machine.disk("sdb", uint64_t(sectors));
        EXPECT_TRUE(gives(code ? -1 : 0, code, RAIDAddRobustCheck("/dev/md2", "/dev/sdb")));
        EXPECT_EQ(machine.calls(), code ? "" : "sbin/mdadm /dev/md2 -a /dev/sdb\n");
    }
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, RAIDAddRobustCheck("/dev/md2", "/dev/sdc")));
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, RAIDAddRobustCheck("/dev/md3", "/dev/sdb")));
    machine.write("dev/md3", "");
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, RAIDAddRobustCheck("/dev/md3", "/dev/sdb")));
    machine.disk("sdb", 5000);
    machine.tool("sbin/mdadm", "exit 1");
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, RAIDAddRobustCheck("/dev/md2", "/dev/sdb")));
}

TEST(RaidStripe, IsAsWideAsTheDataDisks) {
    Machine machine;
    const std::pair<const char *, int> cases[] = {
        {"raid0", 256}, {"raid5", 192}, {"raid6", 128}, {"raid1", 0}, {"linear", 0}};
    for (const auto &[level, kib] : cases) {
        machine.array(2, level, 4, {{"sda3"}});
        machine.write("sys/block/md2/md/chunk_size", "65536\n");
        EXPECT_EQ(RAIDMdStripeSizeGet("/dev/md2"), kib) << level;
    }
    machine.array(2, "raid10", 4, {{"sda3"}});
    EXPECT_TRUE(gives(-1, ERR_UNKNOWN, RAIDMdStripeSizeGet("/dev/md2")));
    machine.array(2, "raid0", 4, {{"sda3"}});
    machine.write("sys/block/md2/md/chunk_size", "99999999999999\n");
    EXPECT_TRUE(gives(-1, 0, RAIDMdStripeSizeGet("/dev/md2")) || RAIDMdStripeSizeGet("/dev/md2") > 0);
    machine.write("sys/block/md2/md/chunk_size", "");
    EXPECT_TRUE(gives(-1, ERR_READ_FAILED, RAIDMdStripeSizeGet("/dev/md2")));
}

struct PartitionTools : Machine {
    PartitionTools() {
        // The table is what the kernel knows, and what a file adds.
        write("sbin/sfdisk", R"(#!/bin/sh
            if [ "$1" = --dump ]; then
                cd "$MORV_ROOT/sys/block/${2##*/}" && unit=$(cat queue/logical_block_size 2>/dev/null || echo 512)
                for name in *[0-9]; do
                    [ ! -e $name/start ] || echo "/dev/$name : start=  $(($(cat $name/start) * 512 / unit)), size= 1"
                done
                cat "$MORV_ROOT/more_entries" 2>/dev/null
                exit 0
            fi
            echo "sbin/sfdisk $*" | sed "s,$MORV_ROOT,,g" >>"$MORV_ROOT/calls"
            read -r line; echo "$line" >>"$MORV_ROOT/calls")",
              0755);
        tool("sbin/wipefs", "");
        write("bin/echo", "#!/bin/sh\necho \"$*\"\n", 0755);
    }
};

// A system whose arrays lie on sda, which has the small layout, and a fresh disk sdb.
struct Disks : PartitionTools {
    Disks() {
        array(0, "raid1", 4, {{"sda1"}});
        array(1, "raid1", 4, {{"sda2"}});
        disk("sda", 20000000);
        partition("sda", 1, 63, 2000000);
        partition("sda", 2, 2000063, 600000);
        partition("sda", 3, 2634660, 17365340);
        disk("sdb", 20000000);
    }
};

const char kNoReread[] = "sbin/sfdisk --no-reread --no-tell-kernel ";

TEST(DiskInit, MakesAFreshDiskLikeTheOthersAndAddsIt) {
    Disks machine;
    ASSERT_EQ(RAIDDiskInit("/dev/sdb", RAID_INIT_MEMBER), 0);
    const auto added = [](const char *partition, const char *place) {
        return std::string(kNoReread) + "--append /dev/sdb\n" + place + ", type=raid\nsbin/wipefs -a /dev/" +
               partition + "\n";
    };
    EXPECT_EQ(machine.calls(), std::string("sbin/wipefs -a /dev/sdb\n") + kNoReread +
                                   "/dev/sdb\nlabel: dos\n" + added("sdb1", "start=63, size=2000000") +
                                   added("sdb2", "start=2000063, size=600000") +
                                   "sbin/mdadm /dev/md0 -a /dev/sdb1\nsbin/mdadm /dev/md1 -a /dev/sdb2\n" +
                                   added("sdb3", "start=2634660, size=17365340"));
    uint64_t sectors = 0;
    int layout = 0;
    EXPECT_EQ(DiskSizeGet("/dev/sdb3", &sectors), 1) << "the kernel was told";
    EXPECT_EQ(sectors, 17365340U);
    EXPECT_EQ(PartitionLayoutGet("/dev/sdb", &layout), 0);
    EXPECT_EQ(layout, DISK_LAYOUT_SMALL);
    // One that serves the system is left as it is, but for what it lacks.
    EXPECT_EQ(RAIDDiskInit("/dev/sda", RAID_INIT_MEMBER), 0);
    EXPECT_EQ(machine.calls(), "");
}

TEST(DiskInit, UsesTheLargeLayoutOnANewSystemAndAGptOnALargeDisk) {
    PartitionTools machine;
    machine.disk("sda", 8000000000);
    machine.write("sys/block/sda/queue/logical_block_size", "4096\n");
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, PartitionCreate("/dev/sda", PARTITION_DATA)));
    EXPECT_EQ(PartitionCreate("/dev/sda", PARTITION_SYSTEM), 0);
    EXPECT_EQ(PartitionCreate("/dev/sda", PARTITION_DATA), 0);
    std::string places;
    const std::string calls = machine.calls();
    for (const char *const word : {"label: ", "start="}) {
        for (size_t at = calls.find(word); at != calls.npos; at = calls.find(word, at + 1))
            places += calls.substr(at, calls.find('\n', at) - at) + "\n";
    }
    EXPECT_EQ(places,
              "label: gpt\nstart=256, size=622592, type=raid\nstart=622848, size=131072, type=raid\n"
              "start=785177, size=999214789, type=raid\n");
    int layout = 0;
    EXPECT_EQ(PartitionLayoutGet("/dev/sda3", &layout), 0);
    EXPECT_EQ(layout, DISK_LAYOUT_LARGE);
    machine.disk("sdb", DISK_RESERVE_SMALL);
    EXPECT_TRUE(gives(-1, ERR_DISK_TOO_SMALL, PartitionCreate("/dev/sdb", PARTITION_SYSTEM)));
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, PartitionCreate("/dev/sdc", PARTITION_SYSTEM)));
    EXPECT_TRUE(refuses(-1, PartitionCreate("/dev/sda3", PARTITION_SYSTEM)));
    EXPECT_TRUE(refuses(-1, PartitionCreate("/dev/sda", PARTITION_ALL)));
    machine.array(7, "raid1", 2, {});
    EXPECT_TRUE(refuses(-1, PartitionCreate("/dev/md7", PARTITION_SYSTEM)));
    EXPECT_TRUE(refuses(-1, PartitionClean("/dev/md7", PARTITION_ALL)));
    EXPECT_TRUE(refuses(-1, RAIDDiskInit("/dev/nvme0n1", RAID_INIT_MEMBER)));
}

TEST(DiskInit, GivesTheTableAndTheKernelTheSamePlaces) {
    Disks machine;
    // Of larger sectors than the disks that the places are taken from.
    machine.write("sys/block/sdb/queue/logical_block_size", "4096\n");
    EXPECT_EQ(PartitionCreate("/dev/sdb", PARTITION_SYSTEM), 0);
    EXPECT_NE(machine.calls().find("start=8, size=249999, "), std::string::npos);
    EXPECT_EQ(machine.read("sys/block/sdb/sdb1/start") + machine.read("sys/block/sdb/sdb1/size"),
              "64\n1999992\n");
    // A small disk may have a GUID partition table; the room of its copy is kept.
    machine.write("dev/sdb", std::string(4096, '\0') + "EFI PART");
    EXPECT_EQ(PartitionCreate("/dev/sdb", PARTITION_DATA), 0);
    EXPECT_EQ(machine.read("sys/block/sdb/sdb3/start") + machine.read("sys/block/sdb/sdb3/size"),
              "2634664\n17365064\n");
}

TEST(DiskInit, TakesBackAPartitionThatTheKernelRefusesOrThatCannotBeWiped) {
    for (const bool refused : {true, false}) {
        Disks machine;
        EXPECT_EQ(PartitionCreate("/dev/sdb", PARTITION_SYSTEM), 0);
        machine.calls();
        if (refused) {
            fail_ioctl(BLKPG, EBUSY);
        } else {
            machine.tool("sbin/wipefs", "exit 1");
        }
        for (int i = 0; i < 2; ++i) {
            uint64_t sectors;
            EXPECT_EQ(PartitionCreate("/dev/sdb", PARTITION_DATA), -1);
            EXPECT_NE(machine.calls().find("--delete /dev/sdb 3\n"), std::string::npos);
            EXPECT_EQ(DiskSizeGet("/dev/sdb3", &sectors), 0);
        }
    }
    // A table that the kernel does not know, or knows otherwise, may be that of somebody's data.
    Disks machine;
    machine.write("more_entries", "/dev/sdb1 : start= 2048, size= 100\n");
    EXPECT_TRUE(gives(-1, ERR_DEVICE_BUSY, PartitionCreate("/dev/sdb", PARTITION_SYSTEM)));
    machine.partition("sdb", 2, 4096, 100);
    machine.write("sbin/sfdisk", "#!/bin/sh\necho '/dev/sdb1 : start= 4096, size= 100'\n", 0755);
    EXPECT_TRUE(gives(-1, ERR_DEVICE_BUSY, PartitionCreate("/dev/sdb", PARTITION_SYSTEM)));
    EXPECT_EQ(machine.calls(), "");
}

TEST(DiskClean, RemovesATableThatTheKernelDoesNotKnowAndPartitionsWithoutATable) {
    Disks machine;
    machine.write("more_entries", "/dev/sdb1 : start= 2048, size= 100\n");
    EXPECT_EQ(PartitionClean("/dev/sdb", PARTITION_ALL), 0);
    EXPECT_EQ(machine.calls(), std::string(kNoReread) + "--delete /dev/sdb\n\n");
    machine.partition("sdb", 1, 2048, 100);
    machine.tool("sbin/sfdisk", "exit 1");
    EXPECT_EQ(PartitionClean("/dev/sdb", PARTITION_ALL), 0);
    EXPECT_EQ(machine.calls(), "sbin/sfdisk --dump /dev/sdb\n");
    uint64_t sectors;
    EXPECT_EQ(DiskSizeGet("/dev/sdb1", &sectors), 0);
}

TEST(DiskClean, LeavesTheKernelWithItsPartitionsWhateverFails) {
    for (int nth = 1; nth < 1000; ++nth) {
        Disks machine;
        int result;
        bool reached;
        {
            SysFault fault(Sys::kAllocation, nth);
            result = PartitionClean("/dev/sda", PARTITION_ALL);
            reached = fault.reached();
        }
        uint64_t sectors;
        for (const char *device : {"/dev/sda1", "/dev/sda2", "/dev/sda3"})
            ASSERT_EQ(DiskSizeGet(device, &sectors), result == 0 ? 0 : 1) << device << " " << nth;
        if (!reached) break;
    }
}

TEST(DiskClean, RemovesWhatIsAskedForOrNothing) {
    const std::string remove = std::string(kNoReread) + "--delete /dev/sda";
    const struct {
        int kinds;
        std::string calls;
        int code_when_busy;
    } cases[] = {{PARTITION_DATA, remove + " 3\n\n", 0},
                 {PARTITION_SYSTEM, remove + " 1 2\n\n", ERR_DEVICE_BUSY},
                 {PARTITION_ALL, remove + "\n\n", ERR_DEVICE_BUSY}};
    for (const auto &c : cases) {
        Disks machine;
        EXPECT_EQ(PartitionClean("/dev/sda", c.kinds), 0);
        EXPECT_EQ(machine.calls(), c.calls);
        uint64_t sectors;
        EXPECT_EQ(DiskSizeGet("/dev/sda2", &sectors), c.kinds == PARTITION_DATA) << "the kernel was told";

        // The kernel keeps one, or the table cannot be written: it goes on with all that it had.
        for (const bool is_busy : {true, false}) {
            Disks kept;
            if (is_busy) kept.write("sys/block/sda/sda2/holders", "");
            if (!is_busy) {
                kept.write("sbin/sfdisk", R"(#!/bin/sh
                    [ "$1" != --dump ] || { echo "/dev/sda1 : start= 63, size= 1"; exit 0; }
                    echo "sbin/sfdisk $*" | sed "s,$MORV_ROOT,,g" >>"$MORV_ROOT/calls"
                    exit 1)",
                           0755);
            }
            const int code = is_busy ? c.code_when_busy : int{ERR_SYS_UNKNOWN};
            EXPECT_TRUE(gives(code ? -1 : 0, code, PartitionClean("/dev/sda", c.kinds)));
            EXPECT_EQ(kept.calls(),
                      code == ERR_DEVICE_BUSY ? "" : c.calls.substr(0, c.calls.size() - !is_busy));
            EXPECT_EQ(DiskSizeGet("/dev/sda1", &sectors), 1);
            EXPECT_EQ(DiskSizeGet("/dev/sda2", &sectors), 1);
        }
    }
    Disks machine;
    EXPECT_EQ(RAIDDiskInit("/dev/sdb", RAID_INIT_CLEAN), 0) << "nothing to remove";
    EXPECT_TRUE(refuses(-1, RAIDDiskInit("/dev/sda", 3)));
    EXPECT_TRUE(refuses(-1, PartitionClean("/dev/sda", 4)));
    EXPECT_TRUE(refuses(-1, PartitionClean("/dev/sda3", PARTITION_ALL)));
    EXPECT_EQ(RAIDDiskInit("/dev/sda", RAID_INIT_CLEAN), 0);
}

}  // namespace
