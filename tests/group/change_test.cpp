#include <morvsdk/file.h>
#include <unistd.h>

#include "groups.h"
#include "support/outcome.h"
#include "support/process.h"
#include "support/sys_fault.h"

using namespace testing_support;
using namespace group_test;

namespace {

using Files = AccountRoot::Files;

constexpr char kGroup[] = "etc/group";
constexpr char kDesc[] = "etc/group_desc";
constexpr char kConf[] = "usr/morv/etc/smb.conf";
constexpr char kAfp[] = "usr/morv/etc/afpd.conf";

int set(const char *old_name, const char *name, uint32_t gid, const char *members) {
    return MORVGroupSet(old_name, make(name, gid, members).get());
}

// Whether all is as `expected`, and the mirror, current without being built, is what a new one would be.
testing::AssertionResult is(const AccountRoot &root, const Files &expected, bool current = true) {
    for (const auto &[name, text] : root.files()) {
        if (text != expected.at(name)) return testing::AssertionFailure() << name << " is:\n" << text;
    }
    if (!root.is_tidy()) return testing::AssertionFailure() << "something is left, or has another mode";
    const std::string store = root.path("tmp/.db.group.name.0957");
    const ino_t before = stat_of(store).st_ino;
    for (const bool anew : {false, true}) {
        if (anew && MORVGroupDBRebuild() != 0) return testing::AssertionFailure() << "cannot be built";
        static std::string lines[2];
        lines[anew].clear();
        const Mirror db = open_mirror();
        if (!db) return testing::AssertionFailure() << "cannot be opened";
        if (!anew && current && stat_of(store).st_ino != before)
            return testing::AssertionFailure() << "was not brought up to date";
        for (MORVBDB *store_of : {db->pName, db->pId, db->pDesc}) {
            void *key = nullptr, *value = nullptr;
            int key_size = 0, value_size = 0;
            MORVBDbCursorSetType(store_of, MORV_BDB_FIRST);
            while (MORVBDbCursorGet(store_of, 1, &key, &key_size, &value, &value_size) == 0) {
                lines[anew] +=
                    std::string(static_cast<char *>(key)) + "=" + static_cast<char *>(value) + "\n";
                MORVBDbCursorSetType(store_of, MORV_BDB_NEXT);
            }
            MORVBDbFree(key);
            MORVBDbFree(value);
        }
        lines[anew] += std::to_string(MORVGroupDBGetFreeGid(db.get()));
        if (anew && lines[0] != lines[1])
            return testing::AssertionFailure() << "mirror:\n" << lines[0] << "\nbuilt anew:\n" << lines[1];
    }
    return testing::AssertionSuccess();
}

// What the sample becomes when "staff" is called "crew".
Files renamed(Files files) {
    files = AccountRoot::with(files, kGroup, "staff:x:65536:", "crew:x:65536:");
    files = AccountRoot::with(files, kDesc, "staff:Who", "crew:Who");
    files = AccountRoot::with(files, kConf, "@staff, alice", "@crew, alice");
    files = AccountRoot::with(files, kConf, "@Staff", "@crew");
    return AccountRoot::with(files, kAfp, "@staff", "@crew");
}

Files removed(Files files) {
    files = AccountRoot::with(files, kGroup, "staff:x:65536:alice,Bob Smith\n", "");
    files = AccountRoot::with(files, kDesc, "staff:Who works here: by day\n", "");
    files = AccountRoot::with(files, kConf, "@staff, alice ,", " alice ,");
    files = AccountRoot::with(files, kConf, "@Staff", "");
    return AccountRoot::with(files, kAfp, "alice,@staff", "alice");
}

TEST(GroupChange, LeavesAllElseAsItWas) {
    const AccountRoot root;
    const Files before = root.files();
    const auto with = [&](const char *file, const char *old_piece, const char *piece) {
        return AccountRoot::with(before, file, old_piece, piece);
    };
    const auto marked = [&](const char *line) {
        return AccountRoot::with(with(kGroup, "$65537$\n+\n", (std::string("$65538$\n+\n") + line).c_str()),
                                 kGroup, "", "");
    };
    const struct {
        const char *what;
        int (*change)();
        Files after;
    } cases[] = {
        {"add", [] { return set(nullptr, "new", 0, "ZOË, nobody,gone"); }, marked("new:x:65538:zoë\n")},
        {"add with a gid", [] { return set(nullptr, "Réseau", 70000, ""); },
         with(kGroup, "\n+\n", "\n+\nRéseau:x:70000:\n")},
        {"rename", [] { return set("STAFF", "crew", 65536, "alice,Bob Smith"); }, renamed(before)},
        {"respell", [] { return set("größe", "GRÖSSE", 65537, "zoë,alice"); },
         AccountRoot::with(with(kGroup, "Größe:!:65537:", "GRÖSSE:x:65537:"), kConf, "@größe", "@GRÖSSE")},
        {"members", [] { return set("größe", "Größe", 65537, "alice"); },
         with(kGroup, "Größe:!:65537: zoë , gone,alice", "Größe:x:65537:alice")},
        {"gid", [] { return set("staff", "staff", 80000, "alice,Bob Smith"); },
         with(kGroup, "staff:x:65536", "staff:x:80000")},
        {"nothing", [] { return set("größe", "Größe", 65537, "zoë,alice"); }, before},
        {"members of a group of the system", [] { return set("daemon", "daemon", 1, "admin"); },
         with(kGroup, "daemon:!:1:", "daemon:x:1:admin")},
        {"describe", [] { return MORVGroupDescSet("staff", "new: text"); },
         with(kDesc, "Who works here: by day", "new: text")},
        {"describe for the first time", [] { return MORVGroupDescSet("http", "web"); },
         with(kDesc, "by day\n", "by day\nhttp:web\n")},
        {"describe no more", [] { return MORVGroupDescSet("Users", ""); },
         with(kDesc, "users:All people\n", "")},
        {"delete", [] { return MORVGroupDelete("Staff"); }, removed(before)},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        root.reset();
        ASSERT_TRUE(open_mirror());
        EXPECT_EQ(c.change(), 0) << std::hex << MLIBErrGet();
        EXPECT_TRUE(is(root, c.after));
    }
}

TEST(GroupChange, ThatIsRefusedChangesNothing) {
    const AccountRoot root;
    const Files before = root.files();
    const struct {
        const char *old_name, *name;
        uint32_t gid;
        const char *members;
        int code;
    } cases[] = {
        {nullptr, "STAFF", 0, "", ERR_GROUP_EXISTS},
        {"größe", "staff", 65537, "", ERR_GROUP_EXISTS},
        {"nobody", "some", 0, "", ERR_NO_SUCH_GROUP},
        {nullptr, "sixteen letters.", 0, "", ERR_INVALID_GROUPNAME},
        {nullptr, "a:b", 0, "", ERR_INVALID_GROUPNAME},
        {nullptr, "HOME\\a", 0, "", ERR_INVALID_GROUPNAME},
        {"users", "people", 100, "", ERR_INVALID_GROUPNAME},
        {"users", "Users", 100, "", ERR_INVALID_GROUPNAME},
        {"users", "users", 70000, "", ERR_BAD_PARAMETERS},
        {nullptr, "some", 65536, "", ERR_BAD_PARAMETERS},
        {nullptr, "some", MORV_GROUP_NO_GID, "", ERR_BAD_PARAMETERS},
        {"staff", "staff", 65537, "", ERR_BAD_PARAMETERS},
        {nullptr, "some", 0, "alice:0", ERR_BAD_PARAMETERS},
        {nullptr, "some", 0, "alice\nroot:x:0:alice", ERR_BAD_PARAMETERS},
    };
    for (const auto &c : cases)
        EXPECT_TRUE(gives(-1, c.code, set(c.old_name, c.name, c.gid, c.members))) << c.name;
    EXPECT_TRUE(refuses(-1, MORVGroupDescSet("staff", "a\nroot:x")));
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupDescSet("nobody", "a")));
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupDelete("nobody")));
    EXPECT_TRUE(gives(-1, ERR_INVALID_GROUPNAME, MORVGroupDelete("administrators")));
    root.write("etc.defaults/morvinfo.conf", "maxgroups=\"5\"\n");
    EXPECT_TRUE(gives(-1, ERR_TOO_MANY_GROUPS, set(nullptr, "some", 0, "")));
    root.write("etc.defaults/morvinfo.conf", before.at("etc.defaults/morvinfo.conf"));
    EXPECT_TRUE(is(root, before));
    const Holder holder(MORV_LOCK_GR | MORV_LOCK_READ);
    EXPECT_TRUE(gives(-1, ERR_LOCK_FAILED, MORVGroupDescSet("staff", "a")));
    EXPECT_NE(seen("staff"), "-") << "readers share the lock";
}

TEST(GroupChange, KeepsLinksAndModesAndMakesNoFileThatIsMissing) {
    const AccountRoot root;
    ASSERT_EQ(remove(root.path(kAfp).c_str()), 0);
    rename(root.path(kGroup).c_str(), root.path("etc/real_group").c_str());
    ASSERT_EQ(symlink("real_group", root.path(kGroup).c_str()), 0);
    chmod(root.path("etc/real_group").c_str(), 0640);
    ASSERT_EQ(MORVGroupDelete("staff"), 0);
    EXPECT_EQ(mode_of(root.path("etc/real_group")), 0640u);
    EXPECT_EQ(seen("staff"), "-");
    EXPECT_EQ(stat_of(root.path(kAfp)).st_ino, 0u);
    char link[32] = {};
    EXPECT_EQ(readlink(root.path(kGroup).c_str(), link, sizeof link), 10);
}

TEST(FreeGid, IsSearchedForBehindTheLastOne) {
    const AccountRoot root;
    const struct {
        const char *groups;
        int gid;
    } cases[] = {
        {"", 65536},
        {"a:x:65536:\n", 65537},
        {"a:x:70000:\n", 70001},
        {"a:x:95536:\n", 65536},
        {"a:x:1000000:\n", 65536},
        {"#$_@GID__INDEX@_$95536$\na:x:65536:\nb:x:65537:\n", 65538},
        {"#$_@GID__INDEX@_$65536$\na:x:65537:\n", 65538},
        {"#$_@GID__INDEX@_$95537$\na:x:80000:\n", 80001},
        {"#$_@GID__INDEX@_$80000\na:x:70000:\n", 70001},
    };
    for (const auto &c : cases) {
        root.write(kGroup, std::string("root:x:0:\n") + c.groups);
        EXPECT_EQ(MORVGroupDBGetFreeGid(open_mirror().get()), c.gid) << c.groups;
    }
    std::string all;
    for (int gid = 65536; gid <= 95536; ++gid)
        all += "g" + std::to_string(gid) + ":x:" + std::to_string(gid) + ":\n";
    root.write(kGroup, all);
    EXPECT_TRUE(gives(-1, ERR_TOO_MANY_GROUPS, MORVGroupDBGetFreeGid(open_mirror().get())));
    root.write("etc.defaults/morvinfo.conf", "");
    EXPECT_TRUE(gives(-1, ERR_TOO_MANY_GROUPS, set(nullptr, "one more", 0, "")));
}

TEST(GroupDump, ChangesTheLinesOfWhatChangedOnly) {
    const AccountRoot root;
    const Files before = root.files();
    Mirror db = open_mirror();
    ASSERT_TRUE(db);
    EXPECT_EQ(MORVGroupDBDump(db.get()), 0);
    EXPECT_TRUE(is(root, before));

    db = open_mirror();
    EXPECT_EQ(MORVGroupDBSet(db.get(), "STAFF", 5, make("crew", 65536, "alice,Bob Smith").get()), 0);
    EXPECT_EQ(MORVGroupDBSet(db.get(), nullptr, 0, make("new", 0, "zoë,gone").get()), 0);
    EXPECT_EQ(MORVGroupDBSet(db.get(), "GRÖSSE", 7, make("Größe", 65537, "zoë,alice").get()), 0);
    EXPECT_EQ(MORVGroupDBDelete(db.get(), "USERS"), 0);
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupDBDelete(db.get(), "USERS")));
    EXPECT_TRUE(
        gives(-1, ERR_GROUP_EXISTS, MORVGroupDBSet(db.get(), "CREW", 4, make("HTTP", 70000, "").get())));
    EXPECT_TRUE(gives(-1, ERR_GROUP_EXISTS, MORVGroupDBSet(db.get(), nullptr, 0, make("crew", 1, "").get())));
    EXPECT_TRUE(refuses(-1, MORVGroupDBSet(db.get(), "CREW", 4, make("crew", 65536, "a:b").get())));
    EXPECT_EQ(MORVGroupDBDump(db.get()), 0);
    MORVGROUPDB *const dumped = db.get();
    MORVGROUPDB *open = db.release();
    EXPECT_EQ(MORVGroupDBCheckAndRebuild(&open), 0) << "what was dumped need not be read again";
    EXPECT_EQ(open, dumped);
    db.reset(open);
    db.reset();
    Files after = AccountRoot::with(before, kGroup, "staff:x:65536:alice,Bob Smith\n", "");
    after = AccountRoot::with(after, kGroup, "users:x:100:admin,guest,alice,Bob Smith,gone\n", "");
    after = AccountRoot::with(after, kGroup, "Größe:!:65537: zoë , gone,alice",
                              "Größe:x:65537: zoë , gone,alice");
    after = AccountRoot::with(after, kGroup, "$65537$\n+\n",
                              "$65538$\n+\ncrew:x:65536:alice,Bob Smith\nnew:x:65538:zoë\n");
    after = AccountRoot::with(after, kDesc, "users:All people\n", "");
    after =
        AccountRoot::with(after, kDesc, "staff:Who works here: by day\n", "crew:Who works here: by day\n");
    EXPECT_TRUE(is(root, after));
}

TEST(GroupDump, DoesNotUndoWhatAnotherToolHasDone) {
    const AccountRoot root;
    const Mirror db = open_mirror();
    ASSERT_TRUE(db);
    root.write(kGroup, root.read(kGroup) + "added:x:70000:alice\n");
    const Files before = root.files();
    EXPECT_TRUE(gives(-1, ERR_STORE_INVALID, MORVGroupDBDump(db.get())));
    EXPECT_TRUE(is(root, before, false));
}

TEST(GroupTempFiles, AreRenamedOrRemoved) {
    const AccountRoot root;
    EXPECT_EQ(GROUPIRenameTempFiles(), 0) << "there are none";
    EXPECT_EQ(GROUPIRemoveTempFiles(), 0);
    root.write("etc/group_tmp", "a:x:1:\n");
    root.write("etc/group_desc.tmp", "a:b\n");
    EXPECT_EQ(GROUPIRenameTempFiles(), 0);
    EXPECT_EQ(root.read(kGroup) + root.read(kDesc), "a:x:1:\na:b\n");
    root.write("etc/group_tmp", "");
    root.path("etc/group_desc.tmp/x");
    EXPECT_TRUE(gives(-1, ERR_ACCESS_DENIED, GROUPIRemoveTempFiles()));
    EXPECT_TRUE(gives(-1, ERR_RENAME_FAILED, GROUPIRenameTempFiles())) << "a folder is no file";
}

TEST(GroupLine, IsPrintedWithTheMembersThatExist) {
    const AccountRoot root;
    char *buffer = nullptr;
    int size = 0;
    char name[] = "team", first[] = "ALICE", gone[] = "gone", last[] = "zoë";
    char *members[] = {first, gone, last, nullptr};
    struct group unix_group = {name, nullptr, 65540, members};
    EXPECT_EQ(MORVGroupDBPackFromUnix(&unix_group, &buffer, &size), int(sizeof "team:x:65540:alice,zoë"));
    EXPECT_STREQ(buffer, "team:x:65540:alice,zoë");
    char bad[] = "a:b";
    unix_group.gr_name = bad;
    EXPECT_TRUE(refuses(-1, MORVGroupDBPackFromUnix(&unix_group, &buffer, &size)));
    free(buffer);
}

// The changes whose interruptions are tried out: of one file, and of four.
struct Interrupted {
    const char *what;
    int (*change)();
    Files (*after)(Files);
};
const Interrupted kInterrupted[] = {
    {"rename", [] { return set("staff", "crew", 65536, "alice,Bob Smith"); }, renamed},
    {"delete", [] { return MORVGroupDelete("staff"); }, removed},
    {"describe", [] { return MORVGroupDescSet("staff", "x"); },
     [](Files files) { return AccountRoot::with(files, kDesc, "Who works here: by day", "x"); }},
};

// Whether the files are all old or all new once somebody has looked at the groups.
testing::AssertionResult is_whole(const AccountRoot &root, const Files &before, const Files &after,
                                  bool *done) {
    if (seen("http") != "http:x:1023:") return testing::AssertionFailure() << "groups cannot be read";
    *done = root.files() == after;
    return is(root, *done ? after : before, false);
}

TEST(GroupChange, ThatFailsHasChangedAllOrNothing) {
    const AccountRoot root;
    const Files before = root.files();
    for (const Interrupted &c : kInterrupted) {
        const Files after = c.after(before);
        const int faults = for_each_sys_fault([&](Sys which, int nth) {
            SCOPED_TRACE(std::string(c.what) + ": " + sys_name(which) + " " + std::to_string(nth));
            root.reset();
            EXPECT_TRUE(open_mirror());
            const int descriptors = open_descriptors();
            int result;
            bool reached;
            {
                const SysFault fault(which, nth);
                result = c.change();
                reached = fault.reached();
            }
            EXPECT_EQ(open_descriptors(), descriptors);
            bool done = false;
            EXPECT_TRUE(is_whole(root, before, after, &done));
            EXPECT_TRUE(done || result == -1);
            EXPECT_EQ(done ? 0 : c.change(), 0) << "a retry works";
            return reached && !testing::Test::HasFailure();
        });
        EXPECT_GT(faults, 40) << c.what;
    }
}

TEST(GroupChange, ThatIsKilledIsFinishedOrForgotten) {
    const AccountRoot root;
    const Files before = root.files();
    for (const Interrupted &c : kInterrupted) {
        const Files after = c.after(before);
        int finished = 0;
        int forgotten = 0;
        for (int nth = 1; !testing::Test::HasFailure(); ++nth) {
            SCOPED_TRACE(std::string(c.what) + ", killed at call " + std::to_string(nth));
            root.reset();
            ASSERT_TRUE(open_mirror());
            const int ended = in_child([&] {
                kill_at_call(nth);
                return c.change();
            });
            // A new version that was not decided on may lie there until the next change.
            EXPECT_EQ(seen("http"), "http:x:1023:");
            const bool done = root.files() == after;
            if (!done) {
                EXPECT_EQ(root.files(), before);
                EXPECT_EQ(c.change(), 0) << "a retry works";
            }
            EXPECT_TRUE(is(root, after, false));
            (done ? finished : forgotten) += 1;
            if (ended == 0) break;
        }
        EXPECT_GT(forgotten, 10) << c.what;
        EXPECT_GT(finished, 1) << c.what;
    }
}

TEST(GroupChange, OfManyProcessesLosesNothing) {
    const AccountRoot root;
    constexpr int kWriters = 3, kChanges = 8;
    pid_t writers[kWriters];
    for (int w = 0; w < kWriters; ++w) {
        writers[w] = fork();
        if (writers[w] != 0) continue;
        int failed = 0;
        for (int i = 0; i < kChanges; ++i) {
            const std::string name = "w" + std::to_string(w) + "." + std::to_string(i);
            failed |= set(nullptr, name.c_str(), 0, "alice");
            failed |= seen("staff") != "staff:x:65536:alice,Bob Smith";
            if (i % 2) failed |= MORVGroupDelete(name.c_str());
        }
        _exit(failed != 0);
    }
    for (const pid_t writer : writers)
        EXPECT_EQ(wait_for(writer), 0);
    std::map<uint32_t, int> gids;
    const Mirror db = open_mirror();
    MORVGROUP *found = nullptr;
    while (MORVGroupDBGetByCursor(db.get(), &found) == 0)
        ++gids[found->gid];
    MORVGroupFree(found);
    EXPECT_EQ(gids.size(), 7u + kWriters * kChanges / 2) << "every gid once";
    EXPECT_TRUE(root.is_tidy());
}

}  // namespace
