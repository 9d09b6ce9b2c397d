#include <fcntl.h>
#include <morvsdk/user.h>
#include <unistd.h>

#include <algorithm>

#include "groups.h"
#include "support/hashes.h"
#include "support/outcome.h"
#include "support/process.h"

using namespace testing_support;
using namespace group_test;

namespace {

constexpr char kNameStore[] = "tmp/.db.group.name.0957";

ino_t inode(const AccountRoot &root, const std::string &name = kNameStore) {
    return stat_of(root.dir() + "/" + name).st_ino;
}

TEST(GroupMirror, HoldsTheLinesOfTheFilesWithTheMembersThatExist) {
    const AccountRoot root;
    const Mirror db = open_mirror();
    ASSERT_TRUE(db);
    EXPECT_EQ(stored(db->pName, "STAFF"), "staff:x:65536:alice,Bob Smith");
    EXPECT_EQ(stored(db->pName, "GRÖSSE"), "Größe:!:65537:zoë,alice");
    EXPECT_EQ(stored(db->pName, "DAEMON"), "daemon:!:1:");
    EXPECT_EQ(stored(db->pName, "USERS"), "users:x:100:admin,guest,alice,Bob Smith");
    EXPECT_EQ(stored(db->pName, "+"), "-");
    EXPECT_EQ(stored(db->pId, "065536"), "STAFF");
    EXPECT_EQ(stored(db->pDesc, "STAFF"), "staff:Who works here: by day");
    EXPECT_EQ(MORVGroupDBGetFreeGid(db.get()), 65538);
}

TEST(GroupMirror, TakesWhatItCanFromOddFiles) {
    const AccountRoot root;
    const std::string many = [] {
        std::string members = "alice";
        while (members.size() < size_t{10} << 20)
            members += ",nobody in particular";
        return members + ",admin";
    }();
    const struct {
        const char *what;
        std::string line;
        const char *key;
        const char *expected;
    } cases[] = {
        {"a carriage return", "crlf:x:70000:alice,admin\r\n", "CRLF", "crlf:x:70000:alice,admin"},
        {"blanks and repeated members", "b:x:70000: alice ,ALICE,,admin, ", "B", "b:x:70000:alice,admin"},
        {"a fifth field", "f:x:70000:alice:admin\n", "F", "f:x:70000:"},
        {"three fields", "short:x:70000\n", "SHORT", "-"},
        {"no name", ":x:70000:alice\n", "", "-"},
        {"names calling in others", "-minus:x:70000:alice\n", "-MINUS", "-"},
        {"a zero byte in the name", std::string("z\0z:x:70000:alice\n", 18), "Z", "-"},
        {"broken UTF-8", "a\xC3:x:70000:alice\n", "A\xC3", "-"},
        {"the last of two lines", "two:x:70000:alice\nTwo:x:70001:admin\n", "TWO", "Two:x:70001:admin"},
        {"a script without case", "日本:x:70000:alice\n", "日本", "日本:x:70000:alice"},
        {"ten megabytes", "big:x:70000:" + many + "\n", "BIG", "big:x:70000:alice,admin"},
        {"a gid that only begins as a number", "n:x:0x7:alice\n", "N", "n:x:0x7:alice"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        root.write("etc/group", "users:x:100:\n" + c.line);
        const Mirror db = open_mirror();
        ASSERT_TRUE(db);
        EXPECT_EQ(stored(db->pName, c.key), c.expected);
        EXPECT_EQ(stored(db->pName, "USERS"), "users:x:100:");
    }
}

TEST(GroupMirror, IsNotBuiltWithAGidThatIsNoNumber) {
    const AccountRoot root;
    for (const char *gid : {"", "abc", "-", " ", "+0"}) {
        root.write("etc/group", std::string("users:x:100:\nbad:x:") + gid + ":alice\n");
        EXPECT_TRUE(gives(nullptr, ERR_FORMAT_ERROR, static_cast<void *>(MORVGroupDBOpen()))) << gid;
        EXPECT_EQ(inode(root), 0u) << "nothing half built is left";
    }
    root.write("etc/group", "wheel:x:0:alice\n");
    EXPECT_EQ(seen("wheel"), "wheel:x:0:alice");
    remove(root.path("etc/group").c_str());
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, MORVGroupTotalNum(MORV_GROUP_LOCAL)));
}

TEST(GroupMirror, IsBuiltAnewWhenAFileChanged) {
    const AccountRoot root;
    ASSERT_EQ(seen("staff"), "staff:x:65536:alice,Bob Smith");
    ino_t last = inode(root);
    seen("staff");
    EXPECT_EQ(inode(root), last) << "a current mirror stays";

    // Within one second, and with the same time and size as before.
    struct timespec times[2] = {};
    times[0] = times[1] = stat_of(root.path("etc/group")).st_mtim;
    root.write("etc/group", "staff:x:65539:alice\n");
    EXPECT_EQ(seen("staff"), "staff:x:65539:alice");
    root.write("etc/new", "staff:x:65540:alice\n");
    rename(root.path("etc/new").c_str(), root.path("etc/group").c_str());
    utimensat(AT_FDCWD, root.path("etc/group").c_str(), times, 0);
    EXPECT_EQ(seen("staff"), "staff:x:65540:alice");

    for (const char *file : {"etc/group", "etc/group_desc"}) {
        last = inode(root);
        utimensat(AT_FDCWD, root.path(file).c_str(), nullptr, 0);
        seen("staff");
        EXPECT_NE(inode(root), last) << file;
    }
}

TEST(GroupMirror, OfAnotherMakeIsReplaced) {
    const AccountRoot root;
    const char *const stores[] = {kNameStore, "tmp/.db.group.id.0957", "tmp/.db.group.desc.0957"};
    const struct {
        const char *what;
        void (*damage)(const std::string &path);
    } cases[] = {
        {"missing", [](const std::string &path) { remove(path.c_str()); }},
        {"empty", [](const std::string &path) { write_file(path, ""); }},
        {"of 8191 bytes", [](const std::string &path) { ASSERT_EQ(truncate(path.c_str(), 8191), 0); }},
        {"garbage", [](const std::string &path) { write_file(path, std::string(20000, '\xA5')); }},
        {"a link",
         [](const std::string &path) {
             rename(path.c_str(), (path + ".real").c_str());
             ASSERT_EQ(symlink((path + ".real").c_str(), path.c_str()), 0);
         }},
        {"somebody else's",
         [](const std::string &path) {
             if (geteuid() == 0) {
                 ASSERT_EQ(chown(path.c_str(), 65534, 65534), 0);
             } else {
                 remove(path.c_str());
             }
         }},
        {"a store of another building",
         [](const std::string &path) {
             const std::string old = read_file(path);
             ASSERT_EQ(MORVGroupDBRebuild(), 0);
             write_file(path, old);
         }},
    };
    for (const auto &c : cases) {
        for (const char *store : stores) {
            SCOPED_TRACE(std::string(store) + " is " + c.what);
            ASSERT_EQ(seen("staff"), "staff:x:65536:alice,Bob Smith");
            const std::string path = root.path(store);
            c.damage(path);
            const Mirror db = open_mirror();
            ASSERT_TRUE(db);
            EXPECT_EQ(stored(db->pName, "STAFF"), "staff:x:65536:alice,Bob Smith");
            EXPECT_EQ(stored(db->pId, "065536"), "STAFF");
            EXPECT_EQ(stored(db->pDesc, "STAFF"), "staff:Who works here: by day");
            struct stat st;
            ASSERT_EQ(lstat(path.c_str(), &st), 0);
            EXPECT_TRUE(S_ISREG(st.st_mode) && st.st_uid == geteuid() && st.st_size >= 8192);
        }
    }
    // Two pages are a whole store.
    ASSERT_EQ(stat_of(root.path(stores[2])).st_size, 8192);
    const ino_t last = inode(root, stores[2]);
    EXPECT_TRUE(open_mirror());
    EXPECT_EQ(inode(root, stores[2]), last);
}

TEST(GroupMirror, ThatWasReplacedIsOpenedAgain) {
    const AccountRoot root;
    MORVGROUPDB *db = MORVGroupDBOpen();
    ASSERT_TRUE(db);
    EXPECT_EQ(MORVGroupDBCheckAndRebuild(&db), 0);
    ASSERT_EQ(in_child([] { return MORVGroupDBRebuild(); }), 0);
    EXPECT_EQ(MORVGroupDBCheckAndRebuild(&db), 1) << "another process has built it";
    EXPECT_EQ(MORVGroupDBCheckAndRebuild(&db), 0);
    MORVBDbDeprecatedSet(db->pName, 1);
    EXPECT_EQ(MORVGroupDBCheckAndRebuild(&db), 1) << "marked as replaced";
    root.write("etc/group", "staff:x:65540:zoë\n");
    EXPECT_EQ(MORVGroupDBCheckAndRebuild(&db), 1) << "a file has changed";
    EXPECT_EQ(stored(db->pName, "STAFF"), "staff:x:65540:zoë");
    MORVGroupDBClose(db);
    EXPECT_TRUE(refuse_nulls(-1, MORVGroupDBCheckAndRebuild, MORVGroupDBOpenFile, MORVGroupDBBuild,
                             MORVGroupDBClose, MORVGroupDBGet, MORVGroupDBGetByCursor, MORVGroupDBSet,
                             MORVGroupDBDelete, MORVGroupDBDump, MORVGroupDBGetFreeGid, GroupDBDomainBuild,
                             MORVGroupDBPackFromUnix));
}

TEST(GroupMirror, CanLieElsewhere) {
    const AccountRoot root;
    MORVGROUPDB *db = nullptr;
    const std::string prefix = root.path("tmp/mine");
    EXPECT_EQ(MORVGroupDBOpenFile(&db, prefix.c_str()), 1);
    EXPECT_EQ(MORVGroupDBOpenFile(&db, prefix.c_str()), 0);
    EXPECT_EQ(stored(db->pName, "STAFF"), "staff:x:65536:alice,Bob Smith");
    EXPECT_TRUE(refuses(-1, MORVGroupDBOpenFile(&db, "")));
    MORVGROUP *found = nullptr;
    std::string names;
    MORVBDbCursorSetType(db->pName, MORV_BDB_FIRST);
    while (MORVGroupDBGetByCursor(db, &found) == 0) {
        names += std::string(found->szName) + " ";
        MORVBDbCursorSetType(db->pName, MORV_BDB_NEXT);
    }
    EXPECT_EQ(MLIBErrGet(), ERR_STORE_END);
    EXPECT_EQ(names, "administrators daemon Größe http root staff users ");
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupDBGet(db, "staff", &found)));
    EXPECT_EQ(MORVGroupDBGet(db, "STAFF", &found), 0);
    EXPECT_STREQ(found->szMembers, "alice,Bob Smith");
    MORVGroupFree(found);
    MORVGroupDBClose(db);
}

TEST(DomainGroups, AreReadFromTheirFile) {
    const AccountRoot root;
    root.write("usr/morv/etc/private/domain_group",
               "# fetched\nHOME\\Büro\r\n\n  HOME\\plain  \nstaff\nbad:x:0:\n");
    EXPECT_EQ(seen("home\\büro"), "HOME\\Büro:x:-1:");
    EXPECT_EQ(seen("bad"), "-");
    EXPECT_EQ(seen("staff"), "staff:x:65536:alice,Bob Smith") << "a local group comes first";
    List list;
    EXPECT_EQ(MORVGroupEnum(list.address(), MORV_GROUP_DOMAIN), 2);
    EXPECT_EQ(list.items(), (std::vector<std::string>{"HOME\\Büro", "HOME\\plain"}));
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupDelete("HOME\\plain")));
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupDescSet("HOME\\plain", "x")));
    const Mirror db = open_mirror();
    const Group domain = make("HOME\\new", MORV_GROUP_NO_GID, "");
    EXPECT_TRUE(gives(-1, ERR_INVALID_GROUPNAME, MORVGroupDBSet(db.get(), nullptr, 0, domain.get())));
    EXPECT_EQ(MORVGroupDBDelete(db.get(), "HOME\\PLAIN"), 0);
}

TEST(Groups, AreListedInTheOrderOfTheirNames) {
    const AccountRoot root;
    List all, some;
    EXPECT_EQ(MORVGroupEnum(all.address(), MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN), 5);
    EXPECT_EQ(all.items(), (std::vector<std::string>{"administrators", "Größe", "http", "staff", "users"}));
    EXPECT_EQ(MORVGroupTotalNum(MORV_GROUP_LOCAL), 5);
    EXPECT_EQ(MORVGroupTotalNum(MORV_GROUP_DOMAIN), 0);
    EXPECT_EQ(MORVGroupEnumByPrefix(some.address(), MORV_GROUP_LOCAL, "gRÖß"), 1);
    EXPECT_EQ(some.items(), std::vector<std::string>{"Größe"});
    EXPECT_TRUE(refuses(-1, MORVGroupEnum(all.address(), 0)));
    EXPECT_TRUE(refuse_nulls(-1, MORVGroupEnum, MORVGroupEnumByPrefix, MORVGroupTotalNum, MORVGroupGet,
                             MORVGroupGetByGID, MORVGroupListMember, MORVGroupDescGet, MORVGroupDescSet,
                             MORVGroupSet, MORVGroupDelete));
}

TEST(Groups, AreFoundByNameAndGid) {
    const AccountRoot root;
    root.write("etc/group", root.read("etc/group") + "Twin:x:65536:\nlong:x:4294967294:\nmany:x:655361:\n");
    EXPECT_EQ(seen("GRÖSSE"), "Größe:!:65537:zoë,alice");
    for (const char *name : {"", "nobody", "#CURRENT_GID", "a\xC3", "+"})
        EXPECT_EQ(seen(name), "-") << name;
    EXPECT_EQ(MLIBErrGet(), ERR_NO_SUCH_GROUP);
    const struct {
        uint32_t gid;
        const char *name;
    } cases[] = {{65536, "staff"}, {65537, "Größe"}, {0, "root"}, {4294967294u, "long"}, {655361, "many"}};
    MORVGROUP *found = nullptr;
    for (const auto &c : cases) {
        EXPECT_EQ(MORVGroupGetByGID(c.gid, &found), 0);
        EXPECT_STREQ(found->szName, c.name);
    }
    for (const uint32_t gid : {2u, 655362u, MORV_GROUP_NO_GID})
        EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupGetByGID(gid, &found)));
    MORVGroupFree(found);
}

TEST(GroupMembers, AreThoseOfTheFileAndOfUsersAllLocalOnes) {
    const AccountRoot root;
    const struct {
        const char *group;
        std::vector<std::string> members;
    } cases[] = {{"Staff", {"alice", "Bob Smith"}},
                 {"größe", {"zoë", "alice"}},
                 {"http", {}},
                 {"USERS", {"admin", "guest", "alice", "Bob Smith", "zoë"}}};
    for (const auto &c : cases) {
        List list;
        EXPECT_EQ(MORVGroupListMember(c.group, list.address()), int(c.members.size()));
        EXPECT_EQ(list.items(), c.members);
    }
    List list;
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupListMember("nobody", list.address())));
}

TEST(GroupDescription, IsReadUpToTheSizeOfTheBuffer) {
    const AccountRoot root;
    char buffer[32];
    EXPECT_EQ(MORVGroupDescGet("STAFF", buffer, 23), 22);
    EXPECT_STREQ(buffer, "Who works here: by day");
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVGroupDescGet("staff", buffer, 22)));
    EXPECT_EQ(MORVGroupDescGet("http", buffer, 1), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_GROUP, MORVGroupDescGet("nobody", buffer, 32)));
}

}  // namespace
