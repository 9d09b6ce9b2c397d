// The mirror of the users: what it is built from, when it is built anew, and what is found in it.
#include <morvsdk/internal/bdb.h>
#include <sys/wait.h>
#include <utime.h>

#include <filesystem>
#include <functional>

#include "support/process.h"
#include "support/sys_fault.h"
#include "user/users.h"

using namespace testing_support;
using namespace user_test;
using namespace std::string_literals;
using Names = std::vector<std::string>;

namespace {

TEST(UserMirror, TakesWhatItUnderstandsOfOddFiles) {
    const std::string line = ":x:1030:100::/h:/bin/sh\n";
    const struct {
        const char *what;
        std::string passwd;
        Names listed;
        int code = 0;
    } cases[] = {
        {"comments and other sources",
         "#a" + line + "+b" + line + "-c" + line + "\n:d" + line + "e" + line,
         {"e"}},
        {"too few fields", "a:x:1030\nb\n::::::\nc" + line, {"c"}},
        {"CRLF", "a:x:1030:100::/h:/bin/sh\r\nb" + line, {"a", "b"}},
        {"no last line feed", "a" + line + "b:x:1031:100::/h:/bin/sh", {"a", "b"}},
        {"a line of 10 MiB",
         "a" + line + "b:x:1031:100:" + std::string(10 << 20, 'x') + ":/h:/s\nc" + line,
         {"a", "b", "c"}},
        {"the last of several with one name", "Ann" + line + "ANN:x:1031:100::/h:/s\n", {"ANN"}},
        {"one uid twice", "a" + line + "b" + line, {"a", "b"}},
        {"any script", "zoë" + line + "Ωμέγα" + line + "猫" + line, {"zoë", "Ωμέγα", "猫"}},
        {"invalid UTF-8 and NUL bytes",
         "\xff\xfe" + line + "a\0b"s + line + "c:x:1031:100::/h:/s\0s\nd"s + line,
         {"c", "d"}},
        {"a uid of 0", "a:x:0:0::/:/s\nb:x:0x:0::/:/s\nc" + line, {"c"}},
        {"a uid out of range", "a:x:99999999999:0::/:/s\nb:x:-1:0::/:/s\nc" + line, {"a", "b", "c"}},
        {"a uid that is no number", "a" + line + "b:x:abc:100::/:/s\n", {}, ERR_FORMAT_ERROR},
        {"an empty uid", "b:x::100::/:/s\n", {}, ERR_FORMAT_ERROR},
        {"nobody at all", "# empty\n", {}},
    };
    AccountRoot root;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        root.write("etc/passwd", c.passwd);
        if (c.code) {
            EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVUserTotalNum(1)));  // built before
            unlink(store_path(root, ".name.0957").c_str());
            EXPECT_TRUE(gives(-1, c.code, MORVUserTotalNum(1)));
            root.write("etc/passwd", "x" + line);
            EXPECT_EQ(MORVUserTotalNum(1), 1);
            EXPECT_EQ(stat_of(store_path(root, ".tmp.name.0957")).st_ino, 0u);
            continue;
        }
        EXPECT_EQ(enumerate(MORV_USER_LOCAL), c.listed);
        for (const std::string &name : c.listed) {
            const User user = get(name.c_str());
            ASSERT_TRUE(user) << name << " " << MLIBErrGet();
            EXPECT_EQ(user->szName, name);
        }
        MLIBErrSet(0);
    }
}

TEST(UserMirror, FindsUsersByNameInAnyCaseAndByUid) {
    AccountRoot root;
    root.write("etc/passwd", root.read("etc/passwd") +
                                 "Straße:x:1000000:100:a;,b:/h:/s\nbig:x:1000001:100::/h:/s\n"
                                 "small:x:100000:100::/h:/s\ntwin:x:1026:100::/h:/s\n"
                                 "short:x:1040:100\nlast:x:4294967294:100::/h:/s\n");
    for (const char *name : {"zoë", "ZOË", "Zoë"})
        EXPECT_STREQ(get(name)->szName, "zoë");
    for (const char *name : {"straße", "STRASSE", "Strasse"})
        EXPECT_STREQ(get(name)->szName, "Straße");
    EXPECT_STREQ(get("STRASSE")->szDescription, "a:b");
    MORVUSER *user = nullptr;
    EXPECT_TRUE(gives(-1, ERR_INVALID_USERNAME, MORVUserGet("", &user)));
    for (const char *name : {"nobody", "+nis", "# people", "\xff", "#CURRENT_UID", "alice:x", "broken"})
        EXPECT_TRUE(gives(-1, ERR_NO_SUCH_USER, MORVUserGet(name, &user))) << name;
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, MORVUserGet("short", &user)));
    const struct {
        uint32_t uid;
        const char *name;
    } uids[] = {{0, "root"},      {1026, "alice"},   {1000000, "Straße"},
                {1000001, "big"}, {100000, "small"}, {4294967294u, "last"}};
    for (const auto &[uid, name] : uids) {
        EXPECT_EQ(MORVUserGetByUID(uid, &user), 0) << name;
        EXPECT_STREQ(user->szName, name);
        EXPECT_EQ(user->uid, uid);
    }
    for (const uint32_t uid : {1029u, 1000002u, 10000000u, 100001u})
        EXPECT_TRUE(gives(-1, ERR_NO_SUCH_USER, MORVUserGetByUID(uid, &user))) << uid;
    MORVUserFree(user);
}

TEST(UserMirror, MakesRecordsOfAllFourFiles) {
    AccountRoot root;
    const User alice = get("alice"), bob = get("bob smith"), zoe = get("zoë");
    ASSERT_TRUE(alice && bob && zoe);
    EXPECT_STREQ(alice->szPassword, "$1$ef$0123456789abcdefghijkl");
    EXPECT_STREQ(alice->szDescription, "Alice: of accounting");
    EXPECT_STREQ(alice->szExtra, "notes");
    EXPECT_EQ(alice->expireDay, 20000);
    EXPECT_EQ(alice->privilege, 3);
    EXPECT_EQ(alice->type, MORV_USER_LOCAL);
    EXPECT_EQ(alice->noPasswordChange, 0);
    EXPECT_EQ(bob->noPasswordChange, 1);
    EXPECT_EQ(bob->expireDay, MORV_USER_NEVER_EXPIRES);
    // Whatever the file says; and a missing line is none.
    root.write("etc/morvuser.conf", "aDmin:1:\nguest:7:\nalice\n");
    for (const char *name : {"admin", "ADMIN", "Admin"})
        EXPECT_EQ(MORVUserPrivilegeGet(name), 31);
    EXPECT_EQ(MORVUserPrivilegeGet("Guest"), 0);
    EXPECT_EQ(MORVUserPrivilegeGet("zoë"), 0);
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, MORVUserPrivilegeGet("alice")));
    root.write("etc/shadow", "bob smith:x\n");
    EXPECT_TRUE(gives(-1, ERR_FORMAT_ERROR, MORVUserCheckExpired("Bob Smith")));
    EXPECT_STREQ(get("zoë")->szPassword, "*");
}

TEST(UserMirror, ListsPeopleAndNotTheSystemsAccounts) {
    AccountRoot root;
    EXPECT_EQ(enumerate(MORV_USER_LOCAL), (Names{"admin", "alice", "Bob Smith", "guest", "zoë"}));
    List list;
    EXPECT_EQ(MORVUserEnumByPrefix(list.address(), 3, "A"), 2);
    EXPECT_EQ(MORVUserEnumByPrefix(list.address(), 3, "ZOË"), 1);
    EXPECT_EQ(MORVUserEnumByPrefix(list.address(), 3, ""), 5);
    EXPECT_TRUE(refuses(-1, MORVUserEnum(list.address(), 8)));
    EXPECT_TRUE(refuses(-1, MORVUserTotalNum(MORV_USER_DOMAIN_USED)));
    EXPECT_EQ(MORVConfGetUserLimit(), 64 - 5);
    root.write("etc.defaults/morvinfo.conf", "maxaccounts=\"\"\n");
    EXPECT_EQ(MORVConfGetUserLimit(), 0);
    root.write("etc.defaults/morvinfo.conf", "");
    EXPECT_TRUE(gives(-1, ERR_KEY_NOT_FOUND, MORVConfGetUserLimit()));
}

TEST(UserMirror, ListsTheGuestOnlyWithGuestSupport) {
    // It is asked for once per process: each value needs a new one.
    if (const char *dir = getenv("MORV_TEST_GUEST_ROOT")) {
        MORVSysRootSet(dir);
        _exit(MORVUserTotalNum(3));
    }
    if (getenv("MORV_EMULATED")) GTEST_SKIP() << "an emulated program cannot start itself";
    AccountRoot root;
    for (const auto &[value, count] : {std::pair{"no", 4}, {"yes", 5}, {"NO", 5}, {"", 5}}) {
        root.write("etc.defaults/morvinfo.conf", "guestsupport=\""s + value + "\"\n");
        const int counted = in_child([&] {
            setenv("MORV_TEST_GUEST_ROOT", root.dir().c_str(), 1);
            execl("/proc/self/exe", "guest", "--gtest_filter=UserMirror.ListsTheGuest*", nullptr);
            return 99;
        });
        EXPECT_EQ(counted, count) << value;
    }
}

TEST(UserMirror, ListsTheDomainsUsersThatItsToolNames) {
    AccountRoot root;
    root.write("usr/morv/bin/morvlogset1", "#!/bin/sh\necho \"$@\" >>" + root.dir() + "/log\n", 0755);
    root.write("usr/morv/etc/smb.conf", "[s]\npath=/s\nread list = DOM\\gone,@DOM\\team,alice,dom\\EVE\n");
    const struct {
        const char *what;
        std::string script;
        Names listed;
        bool reported;
    } cases[] = {
        {"working",
         "[ \"$*\" = '-s winbind passwd' ] || exit 1\n"
         "printf '%s\\n' 'DOM\\eve:*:20001:20000:Eve:/home/eve:/bin/sh' 'local:*:20002:1::/:/s' '' 'DOM\\x' "
         "'DOM\\y:*:abc:1::/:/s' '#DOM\\z:*:1:1::/:/s' 'DOM\\root:*:0:0::/:/s'\nprintf "
         "'DOM\\\\al:*:20003:1::/:/s'",
         {"DOM\\al", "DOM\\eve"},
         false},
        {"failing", "echo 'DOM\\eve:*:20001:20000:Eve:/home/eve:/bin/sh'\nexit 3", {}, true},
        {"endless", "exec yes 'DOM\\eve:*:20001:20000:Eve:/home/eve:/bin/sh'", {}, true},
        {"missing", "", {}, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        unlink(root.path("usr/bin/getent").c_str());
        unlink(root.path("log").c_str());
        if (!c.script.empty()) root.write("usr/bin/getent", "#!/bin/sh\n" + c.script + "\n", 0755);
        ASSERT_EQ(MORVUserDBRebuild(), 0);
        EXPECT_EQ(enumerate(MORV_USER_DOMAIN), c.listed);
        EXPECT_EQ(MORVUserTotalNum(3), 5 + int(c.listed.size()));
        EXPECT_EQ(root.read("log"), c.reported ? "sys err 0x1180050A\n" : "");
        MORVUSER *user = nullptr;
        if (c.listed.empty()) {
            EXPECT_TRUE(gives(-1, ERR_NO_SUCH_USER, MORVUserGet("DOM\\eve", &user)));
            continue;
        }
        ASSERT_EQ(MORVUserGetByUID(20001, &user), 0);
        const User eve(user);
        EXPECT_STREQ(eve->szName, "DOM\\eve");
        EXPECT_EQ(eve->szPassword, nullptr);
        EXPECT_STREQ(eve->szExtra, "");
        EXPECT_EQ(eve->privilege, 3);
        EXPECT_EQ(eve->type, MORV_USER_DOMAIN);
        EXPECT_EQ(eve->expireDay, MORV_USER_NEVER_EXPIRES);
        EXPECT_TRUE(gives(-1, ERR_INVALID_USERNAME, MORVUserDelete("dom\\eve")));
        EXPECT_TRUE(gives(-1, ERR_INVALID_USERNAME, MORVUserSet("dom\\eve", make("eve").get())));
        EXPECT_TRUE(gives(-1, ERR_INVALID_USERNAME, MORVUserSetPasswd("dom\\eve", "x")));
        // They stay in the mirror when somebody else changes, and never get into the files.
        ASSERT_EQ(MORVUserDelete("alice"), 0);
        EXPECT_EQ(root.read("etc/passwd").find("DOM"), std::string::npos);
        EXPECT_TRUE(is_like_new(root));
        EXPECT_EQ(enumerate(MORV_USER_DOMAIN), c.listed);
        root.reset();
        root.write("usr/morv/etc/smb.conf",
                   "[s]\npath=/s\nread list = DOM\\gone,@DOM\\team,alice,dom\\EVE\n");
        EXPECT_EQ(enumerate(MORV_USER_DOMAIN_USED), (Names{"DOM\\gone", "dom\\EVE"}));
    }
}

TEST(UserMirror, HandsOutTheNextFreeUid) {
    std::string all;
    for (int uid = 1024; uid <= 3072; ++uid)
        all += "u" + std::to_string(uid) + ":x:" + std::to_string(uid) + ":100::/h:/s\n";
    const std::string all_but_1500 = AccountRoot::with({{"", all}}, "", "u1500:x:1500", "u1500:x:9")[""];
    const std::string few = "a:x:1024:100::/h:/s\nb:x:1030:100::/h:/s\n", high = few + "n:x:65534:1::/:/s\n";
    const struct {
        std::string passwd, misc;
        int current, free;
    } cases[] = {
        {few, "#$_@UID__INDEX@_$1029$\n", 1029, 1031},
        {few, "", 1030, 1031},
        {few, "x #$_@UID__INDEX@_$2000$ y", 2000, 2001},
        {few, "#$_@UID__INDEX@_$3072$\n", 3072, 1025},
        {few, "#$_@UID__INDEX@_$1023$\n", 1030, 1031},
        {few, "#$_@UID__INDEX@_$3073$\n", 1030, 1031},
        {few, "#$_@UID__INDEX@_$1100\n", 1030, 1031},
        {few, "#$_@UID__INDEX@_$99999999999$\n", 1030, 1031},
        {few, "$_@UID__INDEX@_$1100$\n", 1030, 1031},
        {few, "#$_@UID__INDEX@_$x$\n#$_@UID__INDEX@_$1100$\n", 1100, 1101},
        {high, "", 65534, 1025},
        {all_but_1500, "#$_@UID__INDEX@_$3071$\n", 3071, 1500},
        {all_but_1500, "#$_@UID__INDEX@_$1500$\n", 1500, 1500},
        {all, "#$_@UID__INDEX@_$1024$\n", 1024, -1},
    };
    AccountRoot root;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.misc + " " + std::to_string(c.free));
        root.write("etc/passwd", c.passwd);
        root.write("etc/morvuser.conf", c.misc);
        const UserDb db(MORVUserDBOpen());
        ASSERT_TRUE(db);
        void *value = nullptr;
        int size = 0;
        ASSERT_EQ(
            MORVBDbGet(db->pUid, MORV_USERDB_CURRENT_UID, MORV_USERDB_CURRENT_UID_LENGTH, &value, &size), 0);
        ASSERT_EQ(size, 4);
        EXPECT_EQ(*static_cast<int *>(value), c.current);
        MORVBDbFree(value);
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_TRUE(gives(c.free, c.free < 0 ? int{ERR_TOO_MANY_USERS} : 0, MORVUserDBGetFreeUid(db.get())));
    }
}

// ---- When it is built anew ------------------------------------------------------------------------------

void put_reserved(const std::string &path, const char *key, int length, int value) {
    MORVBDB *const db = MORVBDbOpen(path.c_str(), O_RDWR, 0);
    ASSERT_TRUE(db);
    MORVBDbSet(db, key, length, &value, sizeof value);
    MORVBDbClose(db);
}

// Gives a file another content, as an editor that keeps all times.
void rewrite_unseen(const std::string &path, const char *from, const char *to, bool same_inode) {
    const struct stat st = stat_of(path);
    std::string text = read_file(path);
    text.replace(text.find(from), strlen(from), to);
    write_file(same_inode ? path : path + ".new", text, st.st_mode & 07777);
    const timespec times[] = {st.st_atim, {st.st_mtim.tv_sec, st.st_mtim.tv_nsec ^ same_inode}};
    utimensat(AT_FDCWD, (same_inode ? path : path + ".new").c_str(), times, 0);
    if (!same_inode) rename((path + ".new").c_str(), path.c_str());
}

TEST(UserMirror, IsBuiltAnewWheneverItMayBeWrong) {
    struct Case {
        const char *what;
        bool built;
        std::function<void(const std::string &store, const ScratchRoot &root)> harm;
    };
    const Case each_store[] = {
        {"left alone", false, [](auto &, auto &) {}},
        {"of 8192 bytes", false, [](auto &store, auto &) { EXPECT_EQ(stat_of(store).st_size, 8192); }},
        {"of 8191 bytes", true, [](auto &store, auto &) { EXPECT_EQ(truncate(store.c_str(), 8191), 0); }},
        {"missing", true, [](auto &store, auto &) { unlink(store.c_str()); }},
        {"empty", true, [](auto &store, auto &) { EXPECT_EQ(truncate(store.c_str(), 0), 0); }},
        {"garbage", true, [](auto &store, auto &) { write_file(store, std::string(16384, 'x')); }},
        {"a torn page", true,
         [](auto &store, auto &) {
             std::string bytes = read_file(store);
             bytes.replace(4096 + 20, 100, std::string(100, '\xff'));
             write_file(store, bytes);
         }},
        {"a store of somebody else's making", true,
         [](auto &store, auto &) {
             unlink(store.c_str());
             MORVBDB *db = MORVBDbOpen(store.c_str(), O_RDWR | O_CREAT, store.ends_with(".uid.0957"));
             MORVBDbDeprecatedSet(db, 0);
             MORVBDbConfSyncTimeSet(db, 0);
             MORVBDbClose(db);
         }},
        {"a link to a good store", true,
         [](auto &store, auto &) {
             rename(store.c_str(), (store + ".x").c_str());
             EXPECT_EQ(symlink((store + ".x").c_str(), store.c_str()), 0);
         }},
        {"another owner's", true,
         [](auto &store, auto &) {
             if (geteuid() != 0 || chown(store.c_str(), 12345, 0) != 0) unlink(store.c_str());
         }},
        {"with duplicates the other way round", true,
         [](auto &store, auto &) {
             unlink(store.c_str());
             MORVBDbClose(MORVBDbOpen(store.c_str(), O_RDWR | O_CREAT, !store.ends_with(".uid.0957")));
         }},
        {"deprecated", true,
         [](auto &store, auto &) {
             put_reserved(store, MORV_BDB_DEPRECATED, MORV_BDB_DEPRECATED_LENGTH, 1);
         }},
        {"of another time", true,
         [](auto &store, auto &) { put_reserved(store, MORV_BDB_SYNC_TIME, MORV_BDB_SYNC_TIME_LENGTH, 7); }},
        {"a folder", false, [](auto &, auto &) {}},
    };
    const Case each_source[] = {
        {"touched", true, [](auto &path, auto &) { utime(path.c_str(), nullptr); }},
        {"set back", true,
         [](auto &path, auto &) {
             const utimbuf times = {1, 1};
             utime(path.c_str(), &times);
         }},
        {"changed within the second", true,
         [](auto &path, auto &) { rewrite_unseen(path, "alice", "alicf", true); }},
        {"replaced with all times kept", true,
         [](auto &path, auto &) { rewrite_unseen(path, "alice", "alicf", false); }},
    };
    AccountRoot root;
    const auto run = [&](const Case &c, const std::string &path) {
        SCOPED_TRACE(path + " " + c.what);
        root.reset();
        for (const char *suffix : kStores)
            std::filesystem::remove_all(store_path(root, suffix));
        ASSERT_EQ(MORVUserTotalNum(1), 5);
        const auto before = inodes(root);
        c.harm(path, root);
        const User root_user = get("root"), bob = get("bob smith");
        EXPECT_TRUE(root_user && bob) << MLIBErrGet();
        const UserDb db(MORVUserDBOpen());
        EXPECT_TRUE(db) << MLIBErrGet();
        EXPECT_EQ(inodes(root) != before, c.built);
        EXPECT_TRUE(is_like_new(root));
        EXPECT_EQ(stat_of(store_path(root, ".tmp.name.0957")).st_ino, 0u);
    };
    for (const char *suffix : kStores) {
        for (const Case &c : each_store)
            run(c, store_path(root, suffix));
    }
    for (const char *source :
         {"etc/passwd", "etc/shadow", "etc/morvuser.conf", "usr/morv/etc/private/smbpasswd"}) {
        for (const Case &c : each_source)
            run(c, root.path(source));
    }
}

TEST(UserMirror, SaysWhyItCannotBeRead) {
    AccountRoot root;
    ASSERT_EQ(MORVUserTotalNum(1), 5);
    const UserDb db(MORVUserDBOpen());
    rename(root.path("etc/shadow").c_str(), root.path("etc/away").c_str());
    EXPECT_TRUE(gives(-1, ERR_PATH_NOT_FOUND, MORVUserTotalNum(1)));
    unlink(store_path(root, ".smb.0957").c_str());
    EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MORVUserTotalNum(1)));
    rename(root.path("etc/away").c_str(), root.path("etc/shadow").c_str());
    EXPECT_EQ(MORVUserTotalNum(1), 5);
    root.write("etc/morvuser.conf", "");
    root.write("etc/passwd", "# no uid to go on from\n");
    unlink(store_path(root, ".name.0957").c_str());
    EXPECT_TRUE(gives(-1, ERR_STORE_READ_FAILED, MORVUserTotalNum(1)));
    root.reset();
    EXPECT_EQ(MORVUserTotalNum(1), 5);
    // A store that lost its time is not guessed about.
    MORVBDB *const name = MORVBDbOpen(store_path(root, ".name.0957").c_str(), O_RDWR, 0);
    MORVBDbDelete(name, MORV_BDB_SYNC_TIME, MORV_BDB_SYNC_TIME_LENGTH);
    MORVBDbClose(name);
    EXPECT_TRUE(gives(nullptr, ERR_KEY_NOT_FOUND, MORVUserDBOpen()));
    EXPECT_EQ(MORVUserDBRebuild(), 0);
    EXPECT_EQ(MORVUserTotalNum(1), 5);
}

TEST(UserMirror, ReplacesAHandleWhoseStoresWereReplaced) {
    AccountRoot root;
    MORVUSERDB *db = MORVUserDBOpen();
    ASSERT_TRUE(db);
    const auto check = [&] { return MORVUserDBCheckAndRebuild(&db); };
    const auto uid_of = [&](const char *key) {
        MORVUSER *user = nullptr;
        const int result = MORVUserDBGet(db, key, &user);
        const User guard(user);
        return result == 0 ? int(user->uid) : -1;
    };
    EXPECT_EQ(check(), 0);
    // By another process, which finds that the files have changed.
    root.write("etc/passwd", root.read("etc/passwd") + "new:x:1050:100::/h:/s\n");
    EXPECT_EQ(in_child([] { return get("new") ? 7 : 0; }), 7);
    EXPECT_EQ(uid_of("NEW"), -1);
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(uid_of("NEW"), 1050);
    EXPECT_EQ(check(), 0);
    // By this process, which does.
    root.write("etc/passwd", root.read("etc/passwd") + "more:x:1051:100::/h:/s\n");
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(uid_of("MORE"), 1051);
    // By a rebuild without a reason.
    EXPECT_EQ(in_child([] { return MORVUserDBRebuild() == 0 ? 7 : 0; }), 7);
    EXPECT_EQ(check(), 1);
    // By a change, which is made in the stores themselves.
    EXPECT_EQ(in_child([] { return MORVUserDelete("new") == 0 ? 7 : 0; }), 7);
    EXPECT_EQ(check(), 1);
    EXPECT_EQ(uid_of("NEW"), -1);
    EXPECT_EQ(check(), 0);
    EXPECT_TRUE(is_like_new(root));
    // A prefix of the caller's own is built once, and replaces the handle.
    EXPECT_EQ(MORVUserDBOpenFile(&db, root.path("tmp/own").c_str()), 1);
    EXPECT_EQ(MORVUserDBOpenFile(&db, root.path("tmp/own").c_str()), 0);
    EXPECT_EQ(uid_of("MORE"), 1051);
    EXPECT_EQ(MORVUserDBClose(db), 0);
}

TEST(UserMirror, SurvivesForgedRecords) {
    AccountRoot root;
    const std::string key = "ALICE\0"s, big(1 << 20, ':');
    const struct {
        const char *suffix;
        std::string key, value;
        int code;
    } forged[] = {
        {".name.0957", key, "alice", ERR_FORMAT_ERROR},
        {".name.0957", key, "alice:x:1026:100::/h:/s", 0},
        {".name.0957", key, "alice:x:1026:100::/h:/s:more\0"s, ERR_FORMAT_ERROR},
        {".name.0957", key, "\0"s, ERR_NO_SUCH_USER},
        {".name.0957", key, big, ERR_FORMAT_ERROR},
        {".name.0957", key, ":x:1026:100::/h:/s\0"s, ERR_FORMAT_ERROR},
        {".shadow.0957", key, "alice:x\0"s, ERR_FORMAT_ERROR},
        {".shadow.0957", key, big, ERR_FORMAT_ERROR},
        {".shadow.0957", key, "alice:x:::99999999999999999999:::999999999999:", 0},
        {".misc.0957", key, "alice", ERR_FORMAT_ERROR},
        {".misc.0957", key, big, 0},
        {".smb.0957", key, big, 0},
        {".uid.0957", "001026\0"s, big, 0},
        {".uid.0957", "#CURRENT_UID", "x", 0},
        {".uid.0957", "#CURRENT_UID", "\xff\xff\xff\xff", 0},
        {".name.0957", "#MORV@SOURCES", big, 0},
        {".misc.0957", "#MORV@SOURCES", "x", 0},
    };
    for (const auto &f : forged) {
        SCOPED_TRACE(f.suffix + (" " + f.value.substr(0, 30)));
        ASSERT_EQ(MORVUserDBRebuild(), 0);
        MORVBDB *const db = MORVBDbOpen(store_path(root, f.suffix).c_str(), O_RDWR, 0);
        ASSERT_EQ(MORVBDbSet(db, f.key.data(), int(f.key.size()), f.value.data(), int(f.value.size())), 0);
        MORVBDbClose(db);
        MORVUSER *user = nullptr;
        EXPECT_EQ(MORVUserGet("alice", &user), f.code ? -1 : 0);
        EXPECT_TRUE(f.code == 0 || MLIBErrGet() == f.code) << MLIBErrGet();
        EXPECT_TRUE(get("zoë"));
        EXPECT_GE(MORVUserTotalNum(1), 4);
        MORVUserGetByUID(1026, &user);
        MORVUserFree(user);
        const UserDb handle(MORVUserDBOpen());
        ASSERT_TRUE(handle);
        EXPECT_EQ(MORVUserDBGetFreeUid(handle.get()), 1029);
    }
}

TEST(UserMirror, IsWholeForTheNextReaderWhereverItsBuilderIsKilled) {
    AccountRoot root;
    const std::string passwd = root.read("etc/passwd");
    // Two versions of a file, and what the mirror holds with each.
    const auto write = [&](int version) {
        const utimbuf times = {100 + version, 100 + version};
        utime(root.write("etc/passwd", passwd + (version ? "uma:x:1050:100::/h:/s\n" : "")).c_str(), &times);
    };
    std::vector<std::string> expected[2];
    for (const int version : {0, 1}) {
        write(version);
        ASSERT_TRUE(get("root"));
        expected[version] = records(root);
    }
    for (const bool there : {false, true}) {
        int kills = 0;
        for (;; ++kills) {
            SCOPED_TRACE(std::to_string(kills));
            for (const char *suffix : kStores) {
                if (!there) unlink(store_path(root, suffix).c_str());
            }
            write(kills % 2);
            const int status = in_child([&] {
                kill_at_call(kills + 1);
                return get("root") ? 0 : 1;
            });
            ASSERT_TRUE(get("root")) << MLIBErrGet();
            ASSERT_TRUE(UserDb(MORVUserDBOpen())) << MLIBErrGet();
            ASSERT_EQ(records(root), expected[kills % 2]);
            if (status >= 0) {
                EXPECT_EQ(status, 0);
                break;
            }
        }
        EXPECT_GT(kills, 60);
    }
}

}  // namespace
