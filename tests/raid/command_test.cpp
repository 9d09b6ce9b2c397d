// What mdadm is asked, and what is made of its answers.
#include <functional>

#include "raid/arrays.h"

using namespace testing_support;

namespace {

const char kMdadm[] = "sbin/mdadm";

TEST(RaidCreate, AsksForExactlyTheArrayThatIsWanted) {
    const struct {
        int type, count, spares;
        std::vector<std::string> members;
        const char *limit;
        const char *options;  // behind "-amd -R"; null when it is refused
    } cases[] = {
        {RAID_TYPE_RAID0, 2, 0, {"sda3", "sdb3"}, nullptr, "-l0 -n2 /dev/sda3 /dev/sdb3"},
        {RAID_TYPE_RAID1, 2, 0, {"sda3"}, nullptr, "-l1 -n2 -x0 /dev/sda3 missing"},
        {RAID_TYPE_RAID1, 1, 0, {"sda3"}, nullptr, "-l1 -f -n1 -x0 /dev/sda3"},
        {RAID_TYPE_RAID5, 3, 1, {"sda3", "sdb3"}, nullptr, "-l5 -n3 -x1 /dev/sda3 /dev/sdb3 missing missing"},
        {RAID_TYPE_RAID6,
         4,
         0,
         {"a b", "c'd", "$(e)"},
         nullptr,
         "-l6 -n4 -x0 /dev/a b /dev/c'd /dev/$(e) missing"},
        {RAID_TYPE_LINEAR, 1, 0, {"sda3"}, nullptr, "-llinear -f -n1 /dev/sda3"},
        {RAID_TYPE_RAID1, 1, 0, {"sda3"}, "volume.2", "-l1 -f -n1 -x0 -z 2097152 /dev/sda3"},
        {RAID_TYPE_RAID1, 1, 0, {"sda3"}, "volume.4096", "-l1 -f -n1 -x0 -z 4294967295 /dev/sda3"},
        {RAID_TYPE_RAID1, 1, 0, {"sda3"}, "volume.x", "-l1 -f -n1 -x0 /dev/sda3"},
        {RAID_TYPE_RAID1, 1, 0, {"sda3"}, "volume.-1", "-l1 -f -n1 -x0 /dev/sda3"},
        {RAID_TYPE_RAID1, 0, 1, {"sda3", "sdb3"}, nullptr, nullptr},
        {RAID_TYPE_RAID1, 2, -1, {"sda3"}, nullptr, nullptr},
        {RAID_TYPE_RAID1, 2, 1, {"sda3"}, nullptr, nullptr},
        {RAID_TYPE_RAID1, 1, 0, {"sda3", "sdb3"}, nullptr, nullptr},
        {RAID_TYPE_RAID1, INT32_MAX, INT32_MAX, {"sda3"}, nullptr, nullptr},
        {RAID_TYPE_RAID1, INT32_MAX, 0, {"sda3"}, nullptr, nullptr},
        {RAID_TYPE_RAID1, 1, 0, {}, nullptr, nullptr},
        {RAID_TYPE_RAID1, 1, 0, {"../etc/passwd"}, nullptr, nullptr},
        {0, 1, 0, {"sda3"}, nullptr, nullptr},
        {6, 1, 0, {"sda3"}, nullptr, nullptr},
    };
    for (const auto &c : cases) {
        Machine machine;
        std::vector<std::string> members;
        for (const std::string &member : c.members)
            members.push_back("/dev/" + member);
        if (c.limit) machine.write(std::string("tmp/") + c.limit, "");
        const Names list = names_of(members);
        EXPECT_EQ(RAIDCreate("/dev/md2", c.type, c.count, c.spares, list.get()), c.options ? 0 : -1);
        EXPECT_EQ(machine.calls(),
                  c.options ? "sbin/mdadm -C /dev/md2 -amd -R " + std::string(c.options) + "\n" : "");
    }
}

TEST(RaidCreate, TakesAsManyMembersAsThereAre) {
    Machine machine;
    std::vector<std::string> members;
    std::string expected = "sbin/mdadm -C /dev/md2 -amd -R -l5 -n400 -x0";
    for (int i = 0; i < 400; ++i) {
        members.push_back("/dev/disk/by-id/a-rather-long-name-of-a-disk-" + std::to_string(i));
        expected += " " + members.back();
    }
    EXPECT_EQ(RAIDCreate("/dev/md2", RAID_TYPE_RAID5, 400, 0, names_of(members).get()), 0);
    EXPECT_EQ(machine.calls(), expected + "\n");
    machine.tool(kMdadm, "exit 3");
    EXPECT_TRUE(
        gives(-1, ERR_SYS_UNKNOWN, RAIDCreate("/dev/md2", RAID_TYPE_RAID5, 400, 0, names_of(members).get())));
}

TEST(RaidCreate, TunesWhatItMade) {
    Machine machine;
    const std::string cache = "sys/block/md2/md/stripe_cache_size",
                      ahead = "sys/block/md2/queue/read_ahead_kb";
    machine.write("bin/echo", "#!/bin/sh\necho $*\n", 0755);
    for (const char *level : {"raid1", "raid5", "raid0"}) {
        machine.array(2, level, 2, {{"sda3"}, {"sdb3"}});
        machine.write(cache, "256\n");
        EXPECT_EQ(RAIDCreate("/dev/md2", RAID_TYPE_RAID1, 2, 0, names_of({"/dev/sda3", "/dev/sdb3"}).get()),
                  0);
        EXPECT_EQ(machine.read(ahead), std::string(level) == "raid1" ? "512\n" : "") << level;
        EXPECT_EQ(machine.read(cache), std::string(level) == "raid5" ? "1024\n" : "256\n") << level;
        machine.write(ahead, "");
    }
    EXPECT_EQ(MORVRAIDMdStripeCacheSizeSet("/dev/md9", 5), 0) << "an array without a stripe cache";
    EXPECT_TRUE(refuses(-1, MORVRAIDMdStripeCacheSizeSet("/dev/sda", 5)));
    EXPECT_TRUE(refuses(-1, MORVRAIDMdStripeCacheSizeSet("/dev/md/../../md2", 5)));
    EXPECT_TRUE(refuses(-1, MORVRAIDMdTuningPerformance("/dev/sda")));
    EXPECT_EQ(MORVRAIDMdStripeCacheSizeSet("/dev/md2", 2048), 0);
    EXPECT_EQ(machine.read(cache), "2048\n");
    machine.write("bin/echo", "#!/bin/sh\nexit 1\n", 0755);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVRAIDMdStripeCacheSizeSet("/dev/md2", 2048)));
}

TEST(RaidCommands, AreWhatTheirCallersMean) {
    Machine machine;
    machine.array(2, "raid1", 2, {{"sda3"}, {"sdb3"}}, 1000);
    ASSERT_EQ(mkdir(machine.path("dev/md").c_str(), 0755), 0);
    ASSERT_EQ(symlink("../md2", machine.path("dev/md/2").c_str()), 0);
    RAID_SB sb = {"a:b:c:d", "/dev/md2", 0, 0}, optional = {"-x", "/dev/md2", 0, 0};
    const Names members = names_of({"/dev/sda3", "/dev/sdb3"}), none = names_of({});
    const struct {
        std::function<int()> call;
        int answer;
        const char *expected;
    } cases[] = {
        {[] { return RAIDAdd("/dev/md2", "/dev/sdc3"); }, 0, "/dev/md2 -a /dev/sdc3\n"},
        {[] { return RAIDAdd("/dev/md2", "--stop"); }, -1, ""},
        {[] { return RAIDAdd("/dev/md2", "/dev/"); }, -1, ""},
        {[] { return RAIDAdd("/dev/md2", nullptr); }, -1, ""},
        {[] { return RAIDSystemAdd("/dev/sdc"); }, 0,
         "/dev/md0 -a /dev/sdc1\nsbin/mdadm /dev/md1 -a /dev/sdc2\n"},
        {[] { return RAIDStop("/dev/md2"); }, 0, "-S /dev/md2\n"},
        {[] { return RAIDStop("--scan"); }, -1, ""},
        {[] { return RAIDDevCountChange("/dev/md2", 3); }, 0, "--grow /dev/md2 -n 3\n"},
        {[] { return RAIDDevCountChange("/dev/md2", 0); }, -1, ""},
        {[] { return RAIDExpand("/dev/md2", 5000000000); }, 0, "--grow /dev/md2 -z 5000000000\n"},
        {[] { return RAIDExpand("/dev/md2", 1000); }, 0, "--grow /dev/md2 -z 1000\n"},
        {[] { return RAIDExpand("/dev/md2", 999); }, -1, ""},
        {[] { return RAIDExpand("/dev/md9", 999); }, 0, "--grow /dev/md9 -z 999\n"},
        {[] { return RAIDExpand("/dev/md/2", 999); }, -1, ""},
        {[&] { return RAIDAssemble(&sb, members.get()); }, 0,
         "/dev/md2 -A -u a:b:c:d --run /dev/sda3 /dev/sdb3\nsbin/mdadm --run /dev/md2\n"},
        {[&] { return RAIDAssemble(&optional, members.get()); }, -1, ""},
        {[&] { return RAIDAssemble(&sb, none.get()); }, -1, ""},
        {[&] { return RAIDAssemble(nullptr, members.get()); }, -1, ""},
    };
    for (const bool works : {true, false}) {
        machine.tool(kMdadm, works ? "" : "exit 1");
        for (const auto &c : cases) {
            const std::string expected = *c.expected ? "sbin/mdadm " + std::string(c.expected) : "";
            const bool ignores_failure = expected.find(" -A ") != expected.npos;
            EXPECT_EQ(c.call(), works || ignores_failure ? c.answer : -1) << expected;
            // The second array is not touched where the first could not be changed.
            EXPECT_EQ(machine.calls(),
                      works || ignores_failure ? expected : expected.substr(0, expected.find('\n') + 1));
        }
    }
    ASSERT_EQ(unlink(machine.path(kMdadm).c_str()), 0);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, RAIDStop("/dev/md2")));
}

TEST(RaidSuperblock, IsReadFromWhateverMdadmPrints) {
    Machine machine;
    const std::string longest(900, 'x');
    const struct {
        std::string output;
        int answer, code;
        const char *path, *uuid;
    } cases[] = {
        {"ARRAY /dev/md2 UUID=fc646850:65793a92:c7780c0e:bc15422d", 1, 0, "/dev/md2",
         "fc646850:65793a92:c7780c0e:bc15422d"},
        {"ARRAY /dev/md/2  metadata=1.2 UUID=a:b name=nas:2\n   spares=1", 1, 0, "/dev/md2", "a:b"},
        {"UUID=a:b\t/dev/md101", 1, 0, "/dev/md101", "a:b"},
        {std::string("ARRAY /dev/md/2 UUID=a /dev/md3") + '\0' + "x UUID=", 1, 0, "/dev/md2", "a"},
        {"ARRAY /dev/md/nas:2 UUID=a", 1, 0, "/dev/md/nas:2", "a"},
        {longest + " /dev/md2 UUID=a", 1, 0, "/dev/md2", "a"},
        {longest + longest + " /dev/md2 UUID=a", -1, ERR_FORMAT_ERROR, "", ""},
        {"", 0, 0, "", ""},
        {"ARRAY /dev/md2", -1, ERR_FORMAT_ERROR, "", ""},
        {"ARRAY UUID=a", -1, ERR_FORMAT_ERROR, "", ""},
        {"\nARRAY /dev/md2 UUID=a", -1, ERR_FORMAT_ERROR, "", ""},
        {"ARRAY /dev/md2 UUID=" + std::string(128, 'a'), -1, ERR_FORMAT_ERROR, "", ""},
        {"ARRAY /dev/md/" + std::string(60, '0') + " UUID=a", -1, ERR_FORMAT_ERROR, "", ""},
    };
    for (const auto &c : cases) {
        machine.write("answer", c.output);
        RAID_SB sb = {"", "", 7, 8};
        machine.tool(kMdadm, "cat \"$MORV_ROOT/answer\"");
        EXPECT_TRUE(gives(c.answer, c.code, RAIDSBGet("/dev/sda3", &sb))) << c.output;
        EXPECT_STREQ(sb.szPath, c.path);
        EXPECT_STREQ(sb.szUUID, c.uuid);
        EXPECT_EQ(sb.type, 7);
        EXPECT_EQ(sb.devices, 8);
    }
    RAID_SB sb;
    EXPECT_TRUE(refuses(-1, RAIDSBGet("sda3", &sb)));
    ASSERT_EQ(unlink(machine.path(kMdadm).c_str()), 0);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, RAIDSBGet("/dev/sda3", &sb)));
}

TEST(RaidScan, KeepsWhatItHasWhenMoreCannotBeTold) {
    Machine machine;
    machine.tool(kMdadm, "case $* in *-v*) exit 1;; esac; echo 'ARRAY /dev/md2 UUID=a:a'");
    RAID_SB_LIST *list = nullptr;
    EXPECT_EQ(RAIDScan(names_of({"/dev/sda3"}).get(), RAID_SCAN_ALL, &list), 1);
    const Superblocks found(list);
    EXPECT_STREQ(found->pSB->szUUID, "a:a");
    EXPECT_EQ(found->pSB->type, 0);
}

TEST(RaidScan, FindsTheArraysOfDevicesAndAsksAgainForLevelAndCount) {
    Machine machine;
    machine.tool(kMdadm, R"(
        for device; do :; done
        case "$device $*" in
        */sda3*-v*) echo 'ARRAY /dev/md2 level=raid6 num-devices=4 UUID=a:a'; echo '   devices=/dev/sda3';;
        */sda3*) echo 'ARRAY /dev/md2 UUID=a:a'; echo '   spares=1';;
        */sdb3*) echo 'ARRAY /dev/md/101 level=linear num-devices=2 metadata=1.2 UUID=b:b name=nas:101';;
        */sdc3*) echo 'ARRAY /dev/md/home UUID=c:c';;
        */sdd3*) exit 1;;
        */sde3*) echo 'ARRAY /dev/md100 level=multipath num-devices=x UUID=e:e';;
        esac)");
    const Names devices =
        names_of({"/dev/sda3", "/dev/sdb3", "/dev/sdc3", "/dev/sdd3", "--stop", "/dev/sde3"});
    RAID_SB_LIST *list = nullptr;
    EXPECT_EQ(RAIDScan(devices.get(), RAID_SCAN_EXPANSION, &list), 1);
    EXPECT_EQ(machine.calls(),
              "sbin/mdadm -E -b /dev/sda3\nsbin/mdadm -E -b /dev/sdb3\nsbin/mdadm -E -b /dev/sdc3\n"
              "sbin/mdadm -E -b /dev/sdd3\nsbin/mdadm -E -b /dev/sde3\n");
    EXPECT_EQ(RAIDScan(devices.get(), RAID_SCAN_ALL, &list), 3);
    const Superblocks found(list);
    const RAID_SB expected[] = {{"b:b", "/dev/md101", RAID_TYPE_LINEAR, 2},
                                {"a:a", "/dev/md2", RAID_TYPE_RAID6, 4},
                                {"b:b", "/dev/md101", RAID_TYPE_LINEAR, 2},
                                {"e:e", "/dev/md100", RAID_TYPE_RAID5, 0}};
    for (const RAID_SB &sb : expected) {
        ASSERT_TRUE(list) << sb.szPath;
        EXPECT_STREQ(list->pSB->szUUID, sb.szUUID);
        EXPECT_STREQ(list->pSB->szPath, sb.szPath);
        EXPECT_EQ(list->pSB->type, sb.type) << sb.szPath;
        EXPECT_EQ(list->pSB->devices, sb.devices) << sb.szPath;
        list = list->pNext;
    }
    EXPECT_FALSE(list);
}

// mdadm, grep and devices of two arrays that were both called /dev/md2 once.
struct Dissolving : Machine {
    Dissolving() {
        array(2, "raid1", 2, {{"sda3"}, {"sdb3"}});
        write("proc/partitions",
              "major minor  #blocks  name\n\n   8        0     131072 sda\n   8        3     100000 sda3\n"
              "   8       19 1234567890123456789 sdb3\n   8       35     100000 sdc3\n"
              "   9        2     100000 md2\n   8       51     100000 sdd3\n");
        tool("bin/grep", "exec /bin/grep \"$@\"");
        answers("sda3", "");
    }
    void answers(const std::string &stubborn, const std::string &details) const {
        tool(kMdadm, R"(
            for device; do :; done
            case "$*" in
            -D*) echo '           UUID : a:a )" +
                         details + R"('; exit;;
            --zero*/)" + stubborn +
                         R"() exit 2;;
            -E*/sd[abd]3) echo "ARRAY /dev/md2 UUID=a:a";;
            -E*/sdc3) echo "ARRAY /dev/md2 UUID=b:b";;
            esac)");
    }
    std::string wiped() const {
        std::string devices, all = calls();
        const std::string wipe = "--zero-superblock /dev/";
        for (size_t at = all.find(wipe); at != all.npos; at = all.find(wipe, at + 1)) {
            const size_t name = at + wipe.size();
            devices += all.substr(name, all.find('\n', name) - name) + " ";
        }
        return devices;
    }
};

TEST(RaidRemove, WipesTheMembersOfThisArrayOnly) {
    Dissolving machine;
    for (const char *details : {"", "(local to host nas)"}) {
        machine.answers("none", details);
        const Info info = info_of("/dev/md2");
        char uuid[128];
        EXPECT_EQ(RAIDUUIDGet("/dev/md2", uuid, sizeof uuid), 1);
        EXPECT_EQ(std::string(uuid), std::string("a:a ") + details);
        EXPECT_EQ(RAIDRemove(info.get()), 0);
        EXPECT_EQ(machine.wiped(), "sda3 sdb3 sdd3 ");
    }
}

TEST(RaidRemove, SaysWhetherTheLastWipeSucceeded) {
    Dissolving machine;
    const Info info = info_of("/dev/md2");
    const struct {
        const char *stubborn, *uuid;
        int answer, code;
    } cases[] = {{"sda3", "a:a", 0, 0},
                 {"sdd3", "a:a", -1, ERR_SYS_UNKNOWN},
                 {"none", "c:c", -1, ERR_PATH_NOT_FOUND},
                 {"none", " a:a", -1, ERR_BAD_PARAMETERS},
                 {"none", "", -1, ERR_BAD_PARAMETERS}};
    for (const auto &c : cases) {
        machine.answers(c.stubborn, "");
        EXPECT_TRUE(gives(c.answer, c.code, RAIDCleanSuperblock(info.get(), c.uuid))) << c.stubborn << c.uuid;
    }
    machine.write("proc/partitions", "major minor  #blocks  name\n");
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, RAIDCleanSuperblock(info.get(), "a:a")));
}

TEST(RaidRemove, WipesNothingOfAnArrayThatRunsOnOrHasNoUuid) {
    Dissolving machine;
    const Info info = info_of("/dev/md2");
    machine.tool(
        kMdadm, "case $* in -D*) echo UUID : a:a;; -E*) echo 'ARRAY /dev/md2 UUID=a:a';; -S*) exit 1;; esac");
    EXPECT_EQ(RAIDRemove(info.get()), -1);
    EXPECT_EQ(machine.wiped(), "");
    machine.tool(kMdadm, "case $* in -D*) echo UUID;; -E*) echo 'ARRAY /dev/md2 UUID=a:a';; esac");
    char uuid[128];
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, RAIDUUIDGet("/dev/md2", uuid, sizeof uuid)));
    EXPECT_EQ(RAIDRemove(info.get()), 0);
    EXPECT_EQ(machine.wiped(), "");
    machine.tool(kMdadm, "echo UUID : abc");
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, RAIDUUIDGet("/dev/md2", uuid, 3)));
    EXPECT_TRUE(gives(1, 0, RAIDUUIDGet("/dev/md2", uuid, 4)));
}

TEST(RaidMembership, IsThatOfARunningArray) {
    Machine machine;
    machine.tool("sbin/mdadm", R"(
        for device; do :; done
        case "$device" in
        */sda3) echo 'ARRAY /dev/md2 UUID=a';;
        */sdb3) echo 'ARRAY /dev/md100 UUID=b';;
        */sdc3) echo 'ARRAY /dev/md2 UUID=a';;
        */sdd3) echo 'ARRAY /dev/md7 UUID=d';;
        esac)");
    machine.array(2, "raid1", 2, {{"sda3"}});
    machine.array(100, "raid1", 2, {{"sdb3"}});
    char path[16];
    int number = 0;
    EXPECT_EQ(RAIDDevRAIDGet("/dev/sdb3", path, sizeof path, &number), 1);
    EXPECT_STREQ(path, "/dev/md100");
    EXPECT_EQ(number, 100);
    EXPECT_EQ(RAIDDevRAIDGet("/dev/sdc3", path, sizeof path, &number), 0) << "was a member once";
    EXPECT_EQ(RAIDDevRAIDGet("/dev/sdd3", path, sizeof path, &number), 0) << "its array does not run";
    EXPECT_TRUE(gives(0, ERR_NOT_ENOUGH_MEMORY, RAIDDevRAIDGet("/dev/sda3", path, 8, &number)));
    EXPECT_EQ(RAIDDiskIsUsedByInternalRAID("/dev/sda"), 1);
    EXPECT_EQ(RAIDDiskIsUsedByInternalRAID("/dev/sdb"), 0) << "100 is beyond the internal ones";
    EXPECT_EQ(RAIDDiskIsUsedByInternalRAID("/dev/sdz"), 0);
    EXPECT_EQ(RAIDDiskIsUsedByInternalRAID("/dev/sdd"), 0) << "its array does not run";
    ASSERT_EQ(unlink(machine.path("sys/block/md2/md/dev-sda3/state").c_str()), 0);
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, RAIDDiskIsUsedByInternalRAID("/dev/sda")));
    ASSERT_EQ(unlink(machine.path(kMdadm).c_str()), 0);
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, RAIDDiskIsUsedByInternalRAID("/dev/sda")))
        << "nobody may take it for a free disk";
    RAID_SB_LIST *list = nullptr;
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, RAIDScan(names_of({"/dev/sda3"}).get(), RAID_SCAN_ALL, &list)));
}

TEST(MaxDisk, IsWhatTheFactorySettingsSay) {
    Machine machine;
    for (const auto &[answer, number] : {std::pair{"4", 4}, {"12 bays", 12}, {"x", 0}}) {
        machine.tool("bin/get_key_value", std::string("echo '") + answer + "'");
        EXPECT_EQ(MORVMaxDiskGet(), number);
        EXPECT_EQ(machine.calls(), "bin/get_key_value /etc.defaults/morvinfo.conf maxdisks\n");
    }
    machine.tool("bin/get_key_value", "");
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVMaxDiskGet()));
    machine.tool("bin/get_key_value", "echo 4; exit 1");
    EXPECT_TRUE(gives(-1, ERR_SYS_UNKNOWN, MORVMaxDiskGet()));
}

}  // namespace
