// What others may have put where the lists are expected, and locks that nobody lets go of.
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>

#include "autoblock/block_root.h"
#include "support/process.h"

using namespace testing_support;

namespace {

const auto kNow = int32_t(BlockRoot::kStart);
constexpr char kVictim[] = "root:x:0:0::/root:/bin/sh\n";

struct Planted {
    const char *name;
    void (*plant)(const std::string &path, const std::string &victim);
};

const Planted kPlanted[] = {
    {"pipe", [](auto &path, auto &) { ASSERT_EQ(mkfifo(path.c_str(), 0666), 0); }},
    {"folder", [](auto &path, auto &) { ASSERT_EQ(mkdir(path.c_str(), 0777), 0); }},
    {"link", [](auto &path, auto &victim) { ASSERT_EQ(symlink(victim.c_str(), path.c_str()), 0); }},
    {"link to nothing", [](auto &path, auto &) { ASSERT_EQ(symlink("/none/of/it", path.c_str()), 0); }},
    {"second name", [](auto &path, auto &victim) { ASSERT_EQ(link(victim.c_str(), path.c_str()), 0); }},
    {"huge",
     [](auto &path, auto &) {
         write_file(path, "x");
         ASSERT_EQ(truncate(path.c_str(), off_t{1} << 40), 0);
     }},
};

TEST(Hostile, CountsInAListOfItsOwnWhateverStandsThere) {
    for (const auto &[name, plant] : kPlanted) {
        for (const auto call : {MORVAutoBlockFailLoginSet, MORVAutoBlockResetByIP}) {
            SCOPED_TRACE(name);
            const BlockRoot root;
            const std::string victim = root.write("etc/passwd", kVictim, 0600);
            plant(root.path(BlockRoot::kFailures), victim);
            waits = 0;
            EXPECT_EQ(call("192.0.2.1"), 0);
            EXPECT_EQ(MORVAutoBlockFailLoginSet("192.0.2.2"), 0);
            EXPECT_EQ(waits, 0);
            EXPECT_EQ(root.failures().back(), Record(kNow, "192.0.2.2"));
            EXPECT_EQ(mode_of(root.path(BlockRoot::kFailures)), 0666u);
            EXPECT_EQ(root.read("etc/passwd"), kVictim);
            EXPECT_EQ(mode_of(victim), 0600u);
        }
    }
}

TEST(Hostile, DoesNotWaitForADenyListThatIsNone) {
    for (const auto &[name, plant] : kPlanted) {
        if (std::string(name) != "pipe" && std::string(name) != "folder") continue;
        SCOPED_TRACE(name);
        const BlockRoot root;
        plant(root.path(BlockRoot::kDeny), "");
        waits = 0;
        EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
        EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.1"), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_OPEN_FAILED);
        EXPECT_EQ(MORVAutoBlockFileOpen("/etc/morvIPs.deny", O_RDWR, LOCK_EX | LOCK_NB), -1);
        EXPECT_EQ(waits, 0);
    }
}

TEST(Hostile, FollowsALinkToTheDenyListAndLeavesIt) {
    const BlockRoot root;
    root.write("data/list", bytes_of({{kNow, "192.0.2.1"}}), 0640);
    ASSERT_EQ(symlink("../data/list", root.path(BlockRoot::kDeny).c_str()), 0);
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.2"), 0);
    EXPECT_EQ(records_of(root.read("data/list")).size(), 2u);
    EXPECT_EQ(mode_of(root.path("data/list")), 0640u);
    EXPECT_EQ(root.names("data"), (std::vector<std::string>{"list", "list.lock"}));
    struct stat st;
    ASSERT_EQ(lstat(root.path(BlockRoot::kDeny).c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
}

TEST(Hostile, CutsATornRecordOffBeforeItAppends) {
    const BlockRoot root;
    root.write(BlockRoot::kFailures, bytes_of({{kNow, "192.0.2.1"}}) + "torn", 0666);
    EXPECT_EQ(MORVAutoBlockFailLoginSet("192.0.2.1"), 0);
    EXPECT_EQ(root.read(BlockRoot::kFailures), bytes_of({{kNow, "192.0.2.1"}, {kNow, "192.0.2.1"}}));
}

TEST(Hostile, GivesUpALockThatIsNeverLetGoOf) {
    const BlockRoot root;
    MORVAutoBlockIPAdd("192.0.2.1");
    MORVAutoBlockFailLoginSet("192.0.2.2");
    const int descriptors = open_descriptors();
    const struct {
        const char *file;
        int lock;
        int (*call)(const char *client);
        int answer;
        bool waits_long = false;  // half a minute, not a second
    } cases[] = {
        {BlockRoot::kDeny, LOCK_EX, MORVAutoBlockIsDeniedIP, 1},
        {BlockRoot::kDeny, LOCK_EX,
         [](const char *) {
             MORV_AUTOBLOCK_IP *list = nullptr;
             const int count = MORVAutoBlockIPGet(&list, 0, 9);
             MORVAutoBlockFree(list);
             return count;
         },
         1},
        {BlockRoot::kDeny, LOCK_SH, MORVAutoBlockIPAdd, 0},
        {"etc/morvIPs.deny.lock", LOCK_SH, MORVAutoBlockIPAdd, -1, true},
        {BlockRoot::kFailures, LOCK_EX, MORVAutoBlockFailCountGet, 0},
        {BlockRoot::kFailures, LOCK_SH, MORVAutoBlockFailLoginSet, 0, true},
        {BlockRoot::kFailures, LOCK_SH, MORVAutoBlockResetByIP, 0, true},
    };
    EXPECT_EQ(mode_of(root.path("etc/morvIPs.deny.lock")), 0600u) << "nobody else can hold it";
    waits_are_over = true;
    for (const auto &[file, lock, call, answer, waits_long] : cases) {
        SCOPED_TRACE(file);
        const int fd = open(root.path(file).c_str(), O_RDONLY | O_CLOEXEC);
        ASSERT_EQ(flock(fd, lock), 0);
        waits = 0;
        EXPECT_EQ(call("192.0.2.1"), answer);
        EXPECT_GT(waits, 400);
        EXPECT_EQ(waits > 10000, waits_long);
        EXPECT_LT(waits, 20000);
        if (answer == -1) {
            EXPECT_EQ(MLIBErrGet(), ERR_LOCK_FAILED);
        }
        close(fd);
        EXPECT_GE(call("192.0.2.1"), 0);
    }
    EXPECT_EQ(open_descriptors(), descriptors);
}

TEST(Hostile, CountsNothingInWhatIsNoList) {
    for (const auto &[name, plant] : kPlanted) {
        SCOPED_TRACE(name);
        const BlockRoot root;
        const std::string victim = root.write("etc/list", bytes_of({{kNow, "192.0.2.1"}}), 0600);
        plant(root.path(BlockRoot::kFailures), victim);
        waits = 0;
        EXPECT_EQ(MORVAutoBlockFailCountGet("192.0.2.1"), 0);
        EXPECT_EQ(waits, 0);
        EXPECT_EQ(root.names("tmp").size(), 1u) << "it is only looked at";
    }
}

TEST(Hostile, DoesNotWaitWhereWaitingIsInVain) {
    const BlockRoot root;
    const auto as_nobody = [&](int (*call)(const char *client)) {
        return in_child([&] {
            waits = 0;
            if (setgid(65534) != 0 || setuid(65534) != 0) return 9;
            return call("192.0.2.1") == -1 && MLIBErrGet() == ERR_OPEN_FAILED && waits == 0 ? 0 : 1;
        });
    };
    if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
    ASSERT_EQ(chmod(root.path("").c_str(), 0755), 0);
    root.write(BlockRoot::kFailures, "", 0600);
    root.write(BlockRoot::kDeny, "", 0600);
    for (const auto call : {MORVAutoBlockFailLoginSet, MORVAutoBlockResetByIP, MORVAutoBlockFailCountGet,
                            MORVAutoBlockIsDeniedIP, MORVAutoBlockIPAdd})
        EXPECT_EQ(as_nobody(call), 0);
}

TEST(Hostile, MakesItsFilesWithTheirModesWhateverTheMask) {
    const BlockRoot root;
    const mode_t mask = umask(0777);
    EXPECT_EQ(MORVAutoBlockFailLoginSet("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.1"), 0);
    umask(mask);
    EXPECT_EQ(mode_of(root.path(BlockRoot::kFailures)), 0666u);
    EXPECT_EQ(mode_of(root.path(BlockRoot::kDeny)), 0644u);
    EXPECT_EQ(mode_of(root.path("etc/morvIPs.deny.lock")), 0600u);
}

TEST(FileOpen, MakesAFileThatAllMayWriteAndKeepsTheMask) {
    const BlockRoot root;
    const mode_t mask = umask(077);
    EXPECT_EQ(MORVAutoBlockFileOpen("/tmp/list", O_RDWR, LOCK_EX | LOCK_NB), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_FILE_NOT_FOUND);
    const int fd = MORVAutoBlockFileOpen("/tmp/list", O_RDWR | O_CREAT, LOCK_EX | LOCK_NB);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(umask(mask), mode_t{077});
    EXPECT_EQ(mode_of(root.path("tmp/list")), 0666u);
    EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC);
    const int other = open(root.path("tmp/list").c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_NE(flock(other, LOCK_EX | LOCK_NB), 0);
    MORVAutoBlockFileClose(fd);
    EXPECT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    close(other);
}

}  // namespace
