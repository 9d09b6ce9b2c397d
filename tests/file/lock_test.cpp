#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <string>

#include "support/outcome.h"
#include "support/process.h"
#include "support/scratch.h"

using namespace testing_support;

namespace {

constexpr uint32_t kInfoRead = MORV_LOCK_MORVINFO | MORV_LOCK_READ;
constexpr uint32_t kInfoWrite = MORV_LOCK_MORVINFO | MORV_LOCK_WRITE;

struct LockTest : testing::Test {
    ScratchRoot root;
    LockTest() { root.path("tmp/x"); }
    ~LockTest() override { ErrMLIBFileCloseLock(); }
};

// Whether another process can take the lock at once.
bool free_for_others(uint32_t request) {
    return in_child([&] {
               ErrMLIBFileCloseLock();
               return ErrMLIBFileLock(request, 0) == 0 ? 0 : 1;
           }) == 0;
}

TEST_F(LockTest, MakesItsFolderAndFiles) {
    EXPECT_EQ(ErrMLIBFileLock(kInfoRead, 0), 0);
    const auto names = root.names("tmp/lock");
    EXPECT_EQ(names.size(), 18u);
    EXPECT_EQ(names.front(), "lock_apple");
    EXPECT_EQ(mode_of(root.dir() + "/tmp/lock"), 0755u) << "whatever the umask";
    EXPECT_EQ(ErrMLIBFileUnlock(MORV_LOCK_MORVINFO), 0);
    EXPECT_EQ(root.names("tmp/lock").size(), 18u) << "lock files are never removed";

    unlink(root.path("tmp/lock/lock_morvinfo").c_str());
    EXPECT_EQ(ErrMLIBFileLock(kInfoWrite, 0), 0) << "one that went missing is made again";
}

TEST_F(LockTest, ClearsAwayWhatOthersHavePutInTheWay) {
    const auto locks = [](int bit) {
        const bool locked = ErrMLIBFileLock(uint32_t(bit) | MORV_LOCK_READ, 0) == 0;
        ErrMLIBFileUnlock(uint32_t(bit));
        return locked;
    };
    root.write("tmp/lock", "in the way");
    EXPECT_TRUE(locks(MORV_LOCK_MORVINFO));
    const std::string folder = root.path("tmp/lock");
    for (const char *name : {"lock_morvinfo", "lock_gr"})
        unlink((folder + "/" + name).c_str());
    ASSERT_EQ(symlink("../x", (folder + "/lock_gr").c_str()), 0);
    ASSERT_EQ(mkdir((folder + "/lock_morvinfo").c_str(), 0755), 0);
    EXPECT_TRUE(locks(MORV_LOCK_GR));
    EXPECT_TRUE(locks(MORV_LOCK_MORVINFO));
    EXPECT_NE(access(root.path("tmp/x").c_str(), F_OK), 0) << "no link is followed";
    ASSERT_EQ(MLIBSysRename(folder.c_str(), root.path("tmp/old").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", folder.c_str()), 0);
    EXPECT_TRUE(locks(MORV_LOCK_PW));
    struct stat st;
    EXPECT_TRUE(lstat(folder.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) << "nor is that of the folder";
}

TEST_F(LockTest, WithoutAFolderSaysSo) {
    root.path("here/x");
    ASSERT_EQ(MORVSysRootSet(root.path("here").c_str()), 0);
    EXPECT_TRUE(gives(-1, ERR_CREATE_FAILED, ErrMLIBFileLock(kInfoRead, 0))) << "there is no tmp";
    EXPECT_TRUE(gives(-1, ERR_CREATE_FAILED, ErrMLIBILockCheckDir()));
}

TEST_F(LockTest, IsSharedByReadersAndExclusiveForWriters) {
    ASSERT_EQ(ErrMLIBFileLock(kInfoRead, 0), 0);
    EXPECT_TRUE(free_for_others(kInfoRead));
    EXPECT_FALSE(free_for_others(kInfoWrite));
    EXPECT_TRUE(free_for_others(MORV_LOCK_PW | MORV_LOCK_WRITE));
    ASSERT_EQ(ErrMLIBFileUnlock(MORV_LOCK_MORVINFO), 0);
    ASSERT_EQ(ErrMLIBFileLock(kInfoWrite, 0), 0);
    EXPECT_FALSE(free_for_others(kInfoRead));
    ASSERT_EQ(ErrMLIBFileUnlock(MORV_LOCK_MORVINFO | 0xF), 0);
    EXPECT_TRUE(free_for_others(kInfoWrite));
}

TEST_F(LockTest, CountsHowOftenItIsHeld) {
    ASSERT_EQ(ErrMLIBFileLock(kInfoWrite, 0), 0);
    ASSERT_EQ(ErrMLIBFileLock(kInfoWrite, 0), 0);
    ASSERT_EQ(ErrMLIBFileLock(kInfoRead, 0), 0) << "a writer may read";
    for (int held = 3; held > 0; --held) {
        EXPECT_FALSE(free_for_others(kInfoRead)) << held;
        EXPECT_EQ(ErrMLIBFileUnlock(MORV_LOCK_MORVINFO), 0);
    }
    EXPECT_TRUE(free_for_others(kInfoWrite));
    EXPECT_EQ(ErrMLIBFileUnlock(MORV_LOCK_MORVINFO), 0) << "what is not held is ignored";
}

TEST_F(LockTest, RefusesAnUpgradeAtOnceAndTakesNothing) {
    ASSERT_EQ(ErrMLIBFileLock(kInfoRead, 0), 0);
    const timespec start = now();
    EXPECT_TRUE(
        gives(-1, ERR_LOCK_FAILED, ErrMLIBFileLock(MORV_LOCK_PW | MORV_LOCK_MORVINFO | MORV_LOCK_WRITE, 60)));
    EXPECT_LT(seconds_since(start), 30);
    EXPECT_TRUE(free_for_others(MORV_LOCK_PW | MORV_LOCK_WRITE));
    EXPECT_FALSE(free_for_others(kInfoWrite)) << "the lock it had stays";
    ErrMLIBFileUnlock(MORV_LOCK_MORVINFO);
    EXPECT_TRUE(free_for_others(kInfoWrite)) << "held once, as before";
    for (uint32_t held : {MORV_LOCK_SHARED, MORV_LOCK_READ}) {
        ASSERT_EQ(ErrMLIBFileLock(MORV_LOCK_PW | held, 0), 0);
        for (uint32_t asked : {MORV_LOCK_EXCLUSIVE, MORV_LOCK_WRITE})
            EXPECT_EQ(ErrMLIBFileLock(MORV_LOCK_PW | asked, 60), -1) << held << " then " << asked;
        ErrMLIBFileUnlock(MORV_LOCK_PW);
    }
    for (uint32_t no_mode : {0x0, 0x4, 0x8})
        EXPECT_EQ(ErrMLIBFileLock(MORV_LOCK_PW | no_mode, 60), -1) << no_mode;
}

TEST_F(LockTest, TakesAllOrNothing) {
    const Holder other(MORV_LOCK_GR | MORV_LOCK_WRITE);
    // The order of the table: PW, GR, SMB.
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED,
                      ErrMLIBFileLock(MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB | MORV_LOCK_WRITE, 0)));
    EXPECT_TRUE(free_for_others(MORV_LOCK_PW | MORV_LOCK_SMB | MORV_LOCK_WRITE));
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, ErrMLIBFileLock(0x2 | 0x4 | 0x40000000, 60))) << "no such lock";
    EXPECT_EQ(ErrMLIBFileLock(MORV_LOCK_WRITE, 0), 0) << "nothing asked for";
}

TEST_F(LockTest, WaitsUntilTheHolderLetsGoOrDies) {
    Holder other(kInfoWrite);
    EXPECT_EQ(ErrMLIBFileLock(kInfoRead, 0), -1);
    const timespec start = now();
    EXPECT_EQ(ErrMLIBFileLock(kInfoRead, 1), -1);
    EXPECT_GE(seconds_since(start), 1);

    const Child killer([&] {
        usleep(200000);
        kill(other.child.pid(), SIGKILL);
    });
    EXPECT_EQ(ErrMLIBFileLock(kInfoWrite, 60), 0);
}

TEST_F(LockTest, OutlivesAForkUntilTheChildLetsGo) {
    ASSERT_EQ(ErrMLIBFileLock(kInfoWrite, 0), 0);
    ASSERT_EQ(ErrMLIBFileLock(MORV_LOCK_PW | MORV_LOCK_WRITE, 0), 0);
    ASSERT_EQ(ErrMLIBFileLock(MORV_LOCK_PW | MORV_LOCK_WRITE, 0), 0);
    EXPECT_EQ(
        in_child([] {
            if (ErrMLIBFileResetLock(MORV_LOCK_PW) != 0) return 1;
            // Held once by now, so that one release gives it up, for the parent too: it is one open file.
            return ErrMLIBFileUnlock(MORV_LOCK_PW) == 0 && ErrMLIBFileUnlock(MORV_LOCK_MORVINFO) == 0 ? 0 : 2;
        }),
        0);
    EXPECT_TRUE(free_for_others(MORV_LOCK_PW | MORV_LOCK_WRITE));
    EXPECT_FALSE(free_for_others(kInfoWrite)) << "closing an inherited lock takes nothing from the parent";
    EXPECT_EQ(in_child([] { return ErrMLIBFileCloseLock(); }), 0);
    EXPECT_FALSE(free_for_others(kInfoWrite));
}

TEST_F(LockTest, KeepsParallelChangesApart) {
    constexpr int kProcesses = 20, kRounds = 15;
    const std::string path = root.write("etc/morvinfo.conf", "count=0\n");
    const Reader reader(path, [](const std::string &content) {
        // A reader sees one whole line, whenever it looks.
        return content.starts_with("count=") && content.ends_with("\n");
    });
    const auto count_up = [&] {
        for (int round = 0; round < kRounds; ++round) {
            char value[16];
            if (ErrMLIBFileLock(kInfoWrite, 600) != 0) return 1;
            if (MLIBFileGetKeyValue(path.c_str(), "count", value, sizeof value, 0) <= 0) return 2;
            const std::string next = std::to_string(atoi(value) + 1);
            if (MLIBFileSetKeyValue(path.c_str(), "count", next.c_str(), nullptr) != 1) return 3;
            if (ErrMLIBFileUnlock(MORV_LOCK_MORVINFO) != 0) return 4;
            usleep(1000);
        }
        return 0;
    };
    pid_t children[kProcesses];
    for (pid_t &child : children) {
        child = fork();
        if (child == 0) _exit(count_up());
    }
    for (const pid_t child : children)
        EXPECT_EQ(wait_for(child), 0);
    EXPECT_EQ(root.read("etc/morvinfo.conf"), "count=" + std::to_string(kProcesses * kRounds) + "\n");
    EXPECT_EQ(reader.bad(), 0);
    EXPECT_GT(reader.looks(), 0);
}

}  // namespace
