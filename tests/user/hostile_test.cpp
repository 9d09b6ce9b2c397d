// What other accounts of the machine, other tools and killed processes put in the way.
#include <morvsdk/file.h>
#include <sys/stat.h>

#include "users.h"

using namespace testing_support;
using namespace user_test;

namespace {

TEST(HostileNames, OfMirrorsAndLocksAreClearedAway) {
    for (const char *name : {"tmp/.db.user.name.0957", "tmp/.db.user.tmp.shadow.0957", "tmp/lock",
                             "tmp/lock/lock_pw", "tmp/lock/mirror_user"}) {
        SCOPED_TRACE(name);
        AccountRoot root;
        ASSERT_EQ(mkdir(root.path(name).c_str(), 0777), 0);
        write_file(root.path(name) + "/in the way", "");
        EXPECT_TRUE(get("alice")) << MLIBErrGet();
    }
    AccountRoot root;
    ASSERT_EQ(mkfifo(root.path("tmp/lock/lock_pw").c_str(), 0666), 0);
    EXPECT_TRUE(get("alice")) << MLIBErrGet();
}

TEST(HostileNames, ALockFolderOfSomebodyElseIsNotUsed) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
    AccountRoot root;
    const std::string folder = root.path("tmp/lock");
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
    ASSERT_TRUE(get("alice"));
    EXPECT_EQ(stat_of(folder).st_uid, 0u);
}

TEST(ForgedRecords, BecomeNoLinesOfFiles) {
    const struct {
        const char *suffix;
        std::string line;
    } forged[] = {{".shadow.0957", "alice:*:1:0:99999:7:::\ntoor::1:0:99999:7:::"},
                  {".shadow.0957", "root:*:1:0:99999:7:::"},
                  {".name.0957", "alice\ntoor:x:0:0::/:/bin/sh"}};
    for (const auto &[suffix, line] : forged) {
        SCOPED_TRACE(suffix + (" " + line));
        AccountRoot root;
        ASSERT_TRUE(get("alice"));
        MORVBDB *const db = MORVBDbOpen(store_path(root, suffix).c_str(), O_RDWR, 0);
        ASSERT_EQ(MORVBDbSet(db, "ALICE", 6, line.c_str(), int(line.size()) + 1), 0);
        MORVBDbClose(db);
        const std::string shadow = root.read("etc/shadow"), passwd = root.read("etc/passwd");
        EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, MORVUserSetPasswd("alice", "new")));
        EXPECT_EQ(root.read("etc/shadow"), shadow);
        EXPECT_EQ(root.read("etc/passwd"), passwd);
    }
}

// A record as a process killed behind its first rename leaves it.
std::string record_of(const ScratchRoot &root, std::initializer_list<const char *> names) {
    std::string record;
    for (const char *name : names) {
        const struct stat fresh = stat_of(root.dir() + "/" + name + ".tmp"),
                          old = stat_of(root.dir() + "/" + name);
        record += "/" + std::string(name);
        for (const auto number : {(unsigned long long)fresh.st_ino, (unsigned long long)fresh.st_size,
                                  (unsigned long long)old.st_ino, (unsigned long long)old.st_mtim.tv_sec,
                                  (unsigned long long)old.st_mtim.tv_nsec})
            record += " " + std::to_string(number);
        record += "\n";
    }
    return record;
}

TEST(AnInterruptedChange, IsFinishedButForWhatAnotherToolHasChangedSince) {
    AccountRoot root;
    const std::string passwd = root.read("etc/passwd"), shadow = root.read("etc/shadow");
    root.write("etc/passwd.tmp", passwd + "eve:x:1050:100::/h:/s\n");
    root.write("etc/shadow.tmp", shadow + "eve:!:1:0:99999:7:::\n", 0600);
    const std::string record = record_of(root, {"etc/shadow", "etc/passwd"});
    root.write("etc/passwd", passwd + "other:x:1060:100::/h:/s\n");
    root.write("etc/accounts_user.commit", record + "end\n", 0600);
    EXPECT_TRUE(get("other"));
    EXPECT_FALSE(get("eve"));
    EXPECT_EQ(root.read("etc/shadow"), shadow + "eve:!:1:0:99999:7:::\n");
    for (const char *gone : {"etc/passwd.tmp", "etc/shadow.tmp", "etc/accounts_user.commit"})
        EXPECT_EQ(access(root.path(gone).c_str(), F_OK), -1) << gone;
}

TEST(AnInterruptedChange, ThatWasNotDecidedIsDropped) {
    for (const char *record : {"", "/etc/passwd 1 2 3 4 5\n", "/etc/passwd 1 2 3 4 5\nen"}) {
        AccountRoot root;
        const std::string passwd = root.read("etc/passwd");
        root.write("etc/passwd.tmp", "torn");
        root.write("etc/accounts_user.commit", record, 0600);
        EXPECT_TRUE(get("alice"));
        EXPECT_EQ(root.read("etc/passwd"), passwd);
        EXPECT_EQ(access(root.path("etc/passwd.tmp").c_str(), F_OK), -1);
    }
}

TEST(Uids, OfNamesThatNobodyCanLookUpAreTaken) {
    AccountRoot root;
    root.write("etc/passwd", root.read("etc/passwd") + "m\xfcller:x:1029:100::/h:/s\n");
    ASSERT_EQ(MORVUserSet(nullptr, make("next").get()), 0) << MLIBErrGet();
    EXPECT_EQ(get("next")->uid, 1030u);
    EXPECT_TRUE(refuses(-1, MORVUserSet(nullptr, make("third", "x", 1029).get())));
}

TEST(ARenamedUser, GetsNothingThatSomebodyLeftUnderTheName) {
    AccountRoot root;
    const std::string smb = "usr/morv/etc/private/smbpasswd";
    const std::string left =
        "ghost:9:AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA:BBBBBBBBBBBBBBBBBBBBBBBBBBBBBBBB:[U  ]:LCT-1:\n";
    root.write(smb, root.read(smb) + left);
    for (int i = 0; i < 2; ++i) {  // the second time without a rename
        const User user = get(i == 0 ? "zoë" : "ghost");
        const User renamed = make("ghost", user->szPassword, user->uid);
        ASSERT_EQ(MORVUserSet(user->szName, renamed.get()), 0) << MLIBErrGet();
        EXPECT_EQ(root.read(smb).find("ghost"), std::string::npos);
    }
}

}  // namespace
