// Changes of users: what becomes of the files, of all that names the user, and of the mirror.
#include <morvsdk/file.h>
#include <morvsdk/internal/user.h>
#include <sys/stat.h>

#include <functional>

#include "support/process.h"
#include "user/users.h"

using namespace testing_support;
using namespace user_test;
using namespace std::string_literals;
using Files = AccountRoot::Files;

namespace {

constexpr time_t kNow = 1700000000;  // day 19675, 0x6553F100
constexpr char kSmb[] = "usr/morv/etc/private/smbpasswd", kShares[] = "usr/morv/etc/smb.conf",
               kAfp[] = "usr/morv/etc/afpd.conf", kMisc[] = "etc/morvuser.conf";

// A set of the sample's pieces replaced.
struct Edit {
    const char *file;
    std::string from, to;
};

constexpr char kLastSmb[] =
    "Bob Smith:1027:E52CAC67419A9A224A3B108F3FA6CB6D:8846F7EAEE8FB117AD06BDD830B7586C:[U          "
    "]:LCT-4D000000:\n";

struct ChangeTest : testing::Test {
    AccountRoot root;
    Files before = root.files();
    ChangeTest() { faked_time = kNow; }
    ~ChangeTest() override { faked_time = 0; }

    // Whether a call changes these pieces, and not a byte besides, and the mirror in its place.
    testing::AssertionResult makes(const std::vector<Edit> &edits, const std::function<int()> &call) {
        if (!get("root")) return testing::AssertionFailure() << "no mirror";
        const auto old_inodes = inodes(root);
        const int result = call();
        if (result != 0)
            return testing::AssertionFailure() << "answered " << result << ", code " << MLIBErrGet();
        Files wanted = before;
        for (const Edit &e : edits) {
            wanted = AccountRoot::with(wanted, e.file, e.from, e.to);
            if (wanted.empty()) return testing::AssertionFailure() << e.from << " is not in " << e.file;
        }
        for (const auto &[name, text] : root.files()) {
            if (text != wanted[name])
                return testing::AssertionFailure() << name << " is:\n"
                                                   << text << "instead of:\n"
                                                   << wanted[name];
        }
        if (!root.is_tidy()) return testing::AssertionFailure() << "not tidy";
        if (!get("root") || inodes(root) != old_inodes)
            return testing::AssertionFailure() << "mirror built anew";
        return is_like_new(root);
    }
    // Whether a call fails with a code and changes nothing.
    testing::AssertionResult leaves(int code, const std::function<int()> &call) {
        const auto answer = gives(-1, code, call());
        if (!answer) return answer;
        if (root.files() != before || !root.is_tidy()) return testing::AssertionFailure() << "files changed";
        return testing::AssertionSuccess();
    }
};

const std::string hash_of_alice = "$1$ef$0123456789abcdefghijkl";
constexpr char kLmNt[] = "552902031BEDE9EFAAD3B435B51404EE:878D8014606CDA29677A44EFA1353FC7";  // of "secret"

TEST_F(ChangeTest, AddingAppendsALineToEachFileAndJoinsTheUsers) {
    const User anna = make("Änna B", "secret", 0, "a:b;c", "", "note");
    EXPECT_TRUE(
        makes({{"etc/passwd", "+nis::::::\n",
                "+nis::::::\nÄnna B:x:1029:100:a;,b;;c:/var/services/homes/Änna B:/bin/csh\n"},
               {"etc/shadow", "zoë:!:19000:0:99999:7:::\n",
                "zoë:!:19000:0:99999:7:::\nÄnna B:$1$0A$Lkv0Yk.mJKtpOmkSma3aX/:19675:0:99999:7:::\n"},
               {kMisc, "_$1028$", "_$1029$"},
               {kMisc, "zoë:0:\n", "zoë:0:\nÄnna B:1:note\n"},
               {kSmb, kLastSmb, (kLastSmb + "Änna B:1029:"s + kLmNt + ":[U          ]:LCT-6553F100:\n")},
               {"etc/group", "Bob Smith,gone\n", "Bob Smith,gone,Änna B\n"}},
              [&] { return MORVUserSet(nullptr, anna.get()); }));
    const struct stat home = stat_of(root.dir() + "/var/services/homes/Änna B");
    EXPECT_EQ(home.st_mode & 07777, 0711u);
    EXPECT_EQ(home.st_uid, 1029u);
    EXPECT_EQ(home.st_gid, 100u);
    EXPECT_STREQ(get("änna b")->szDescription, "a:b;c");
}

TEST_F(ChangeTest, ChangingKeepsAllOtherBytes) {
    EXPECT_TRUE(makes({{"etc/shadow", "ijkl:19000:0:99999:7::20000:", "ijkl:19675:100000:99999:7::20001:"},
                       {"etc/passwd", "Alice;, of accounting:/var/services/homes/alice:/bin/csh",
                        "Chief;, x:/home/a:/bin/sh"},
                       {kMisc, "alice:3:notes", "alice:-2:other"},
                       {kSmb, "7586C:[U          ]:LCT-4D000000", "7586C:[U          ]:LCT-6553F100"}},
                      [&] {
                          const User user = get("alice");
                          user->expireDay = 20001;
                          user->noPasswordChange = 1;
                          user->privilege = -2;
                          std::string description = "Chief: x", home = "/home/a", shell = "/bin/sh",
                                      extra = "other";
                          user->szDescription = description.data();
                          user->szHome = home.data();
                          user->szShell = shell.data();
                          user->szExtra = extra.data();
                          return MORVUserSetOne(user.get());
                      }));
}

TEST_F(ChangeTest, RenamingIsFollowedWhereverTheUserIsNamed) {
    const User user = get("alice");
    std::string name = "Alína";
    user->szName = name.data();
    EXPECT_TRUE(makes({{"etc/passwd", "alice:x:", "Alína:x:"},
                       {"etc/shadow", "alice:$1$ef$0123456789abcdefghijkl:19000",
                        "Alína:$1$ef$0123456789abcdefghijkl:19675"},
                       {kMisc, "alice:", "Alína:"},
                       {kSmb, "alice:", "Alína:"},
                       {kSmb, "7586C:[U          ]:LCT-4D000000", "7586C:[U          ]:LCT-6553F100"},
                       {"etc/group", "guest,alice", "guest,Alína"},
                       {"etc/group", "65536:alice", "65536:Alína"},
                       {"etc/group", "gone,alice", "gone,Alína"},
                       {kShares, "@staff, alice ,", "@staff, Alína ,"},
                       {kAfp, "alice,", "Alína,"}},
                      [&] { return MORVUserSet("ALICE", user.get()); }));
    EXPECT_FALSE(get("alice"));
    EXPECT_STREQ(get("ALÍNA")->szPassword, hash_of_alice.c_str());
    // The spelling alone, too.
    before = root.files();
    std::string spelling = "aLÍNA";
    user->szName = spelling.data();
    EXPECT_EQ(MORVUserSet("alína", user.get()), 0);
    EXPECT_STREQ(get("alína")->szName, "aLÍNA");
    EXPECT_NE(root.read(kShares).find(" aLÍNA ,"), std::string::npos);
    EXPECT_TRUE(is_like_new(root));
}

TEST_F(ChangeTest, DeletingTakesTheUserOutEverywhere) {
    root.path("var/services/homes/alice/x");
    EXPECT_TRUE(makes(
        {{"etc/passwd", "alice:x:1026:100:Alice;, of accounting:/var/services/homes/alice:/bin/csh\n", ""},
         {"etc/shadow", "alice:$1$ef$0123456789abcdefghijkl:19000:0:99999:7::20000:\n", ""},
         {kMisc, "alice:3:notes\n", ""},
         {kSmb, before[kSmb].substr(before[kSmb].find("alice")), kLastSmb},
         {"etc/group", "guest,alice,", "guest,"},
         {"etc/group", "65536:alice,", "65536:"},
         {"etc/group", "gone,alice", "gone"},
         {kShares, "@staff, alice ,zoë", "@staff,zoë"},
         {kAfp, "alice,", ""}},
        [&] { return MORVUserDelete("aliCE"); }));
    EXPECT_NE(stat_of(root.dir() + "/var/services/homes/alice").st_ino, 0u);
    before = root.files();
    EXPECT_TRUE(leaves(ERR_NO_SUCH_USER, [&] { return MORVUserDelete("alice"); }));
    const User user = make("alice");
    EXPECT_EQ(MORVUserSet(nullptr, user.get()), 0);
    EXPECT_EQ(get("alice")->uid, 1029u) << "a uid of somebody else's files";
}

TEST_F(ChangeTest, APasswordChangesTwoLines) {
    EXPECT_TRUE(makes({{"etc/shadow", "ef$0123456789abcdefghijkl:19000", "ef$pA9Rp5i5popfPT5Rfjc0m.:19675"},
                       {kSmb, "E52CAC67419A9A224A3B108F3FA6CB6D:8846F7EAEE8FB117AD06BDD830B7586C", kLmNt},
                       {kSmb, "FC7:[U          ]:LCT-4D000000", "FC7:[U          ]:LCT-6553F100"}},
                      [&] { return MORVUserSetPasswd("Alice", "secret"); }));
}

TEST_F(ChangeTest, RefusesWhatWouldDamageTheFiles) {
    struct Case {
        std::string what;
        int code;
        std::function<void(MORVUSER &)> spoil;
    };
    static std::string text;
    const auto with = [](char *MORVUSER::*field, std::string bad) {
        return [field, bad](MORVUSER &u) { u.*field = (text = bad).data(); };
    };
    std::vector<Case> cases = {
        {"a uid that is taken", ERR_BAD_PARAMETERS, [](MORVUSER &u) { u.uid = 1027; }},
        {"a uid below 0", ERR_BAD_PARAMETERS, [](MORVUSER &u) { u.uid = 0x80000000; }},
        {"a gid below 0", ERR_BAD_PARAMETERS, [](MORVUSER &u) { u.gid = 0xFFFFFFFF; }},
        {"a line feed in the description", ERR_BAD_PARAMETERS,
         with(&MORVUSER::szDescription, "x\nroot2:x:0:0")},
        {"a line feed in the password", ERR_BAD_PARAMETERS, with(&MORVUSER::szPassword, "x\ny")},
        {"a password too long", ERR_BAD_PARAMETERS, with(&MORVUSER::szPassword, std::string(512, 'x'))},
        {"a password of bytes", ERR_BAD_PARAMETERS, with(&MORVUSER::szPassword, "\xff")},
        {"no name", ERR_BAD_PARAMETERS, [](MORVUSER &u) { u.szName = nullptr; }},
    };
    for (const auto field : {&MORVUSER::szHome, &MORVUSER::szShell, &MORVUSER::szExtra}) {
        for (const char *bad : {"/x:/bin/sh", "/x\nroot2:x:0:0::/:/bin/sh"})
            cases.push_back({bad, ERR_BAD_PARAMETERS, with(field, bad)});
    }
    for (const std::string &bad : {""s, "."s, ".."s, " a"s, "a "s, "-a"s, "a:b"s, "a\nb"s, "a,b"s, "a/b"s,
                                   "DOM\\a"s, "\xff"s, "é\xc3"s, "#a"s, "+a"s, "@a"s, std::string(65, 'x')})
        cases.push_back({bad, ERR_INVALID_USERNAME, with(&MORVUSER::szName, bad)});
    for (const char *there : {"ZOË", "Root", "bob smith"})
        cases.push_back({there, ERR_USER_EXISTS, with(&MORVUSER::szName, there)});
    const User fresh = make("fresh"), alice = get("alice");
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        for (const auto &[old_name, user] :
             {std::pair{(const char *)nullptr, fresh.get()}, {"alice", alice.get()}}) {
            MORVUSER spoiled = *user;
            c.spoil(spoiled);
            EXPECT_TRUE(leaves(c.code, [&] { return MORVUserSet(old_name, &spoiled); }));
        }
    }
    EXPECT_EQ(root.names("var/services/homes"), (std::vector<std::string>{}));
    for (const char *name : {"root", "ADMIN", "Guest"}) {
        const User user = get(name);
        std::string other = name == "root"s ? "boot" : name;
        user->szName = other.data();
        EXPECT_TRUE(leaves(ERR_INVALID_USERNAME, [&] { return MORVUserSet(name, user.get()); })) << name;
        EXPECT_TRUE(leaves(ERR_INVALID_USERNAME, [&] { return MORVUserDelete(name); })) << name;
    }
    EXPECT_TRUE(leaves(ERR_NO_SUCH_USER, [&] { return MORVUserSet("nobody", fresh.get()); }));
    EXPECT_TRUE(leaves(ERR_NO_SUCH_USER, [] { return MORVUserSetPasswd("nobody", "x"); }));
    EXPECT_TRUE(leaves(ERR_BAD_PARAMETERS, [] { return MORVUserSetPasswd("alice", "x\ny"); }));
    EXPECT_TRUE(refuses_null(-1, MORVUserSet) && refuses_null(-1, MORVUserSetOne) &&
                refuses_null(-1, MORVUserDelete));
    EXPECT_TRUE(refuses_null(-1, MORVUserSetPasswd));
    root.write("etc.defaults/morvinfo.conf", "maxaccounts=\"5\"\n");
    before = root.files();
    EXPECT_TRUE(leaves(ERR_TOO_MANY_USERS, [&] { return MORVUserSet(nullptr, fresh.get()); }));
    EXPECT_EQ(MORVUserSetPasswd("root", "changed"), 0);
    root.write("etc.defaults/morvinfo.conf", "maxaccounts=\"6\"\n");
    EXPECT_EQ(MORVUserSet(nullptr, fresh.get()), 0);
}

TEST_F(ChangeTest, ManyAreChangedTogetherOrNotAtAll) {
    const User alice = get("alice"), a = make("a"), b = make("b", "x", 1029), c = make("c"),
               again = make("A"), taken = make("t", "x", 1027), nameless = make(".");
    alice->privilege = 9;
    const auto set = [](std::vector<const MORVUSER *> users, int *failed) {
        return MORVUserSetMany(users.data(), int(users.size()), failed);
    };
    int failed = 7;
    for (const auto &[bad, code] : {std::pair{again.get(), int{ERR_USER_EXISTS}},
                                    {taken.get(), ERR_BAD_PARAMETERS},
                                    {nameless.get(), ERR_INVALID_USERNAME},
                                    {(MORVUSER *)nullptr, ERR_BAD_PARAMETERS}}) {
        EXPECT_TRUE(leaves(code, [&, p = bad] { return set({a.get(), alice.get(), p, c.get()}, &failed); }));
        EXPECT_EQ(failed, 2);
    }
    EXPECT_EQ(root.names("var/services/homes").size(), 0u);
    // A uid that is asked for is given, whatever comes before it; those that are not asked for lie around it.
    EXPECT_EQ(set({b.get(), alice.get(), a.get(), c.get()}, &failed), 0);
    EXPECT_EQ(failed, -1);
    EXPECT_EQ(get("b")->uid, 1029u);
    EXPECT_EQ(get("a")->uid, 1030u);
    EXPECT_EQ(get("c")->uid, 1031u);
    EXPECT_EQ(get("alice")->privilege, 9);
    EXPECT_TRUE(is_like_new(root));
    const MORVUSER *const none[] = {nullptr};
    EXPECT_EQ(MORVUserSetMany(none, 0, nullptr), 0);
    EXPECT_NE(root.read(kMisc).find("#$_@UID__INDEX@_$1031$\n"), std::string::npos);
    std::vector<User> crowd;
    std::vector<const MORVUSER *> users;
    for (int i = 0; i < 500; ++i) {
        crowd.push_back(make(("user" + std::to_string(i)).c_str()));
        users.push_back(crowd.back().get());
    }
    EXPECT_EQ(set(users, &failed), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_TOO_MANY_USERS);
    EXPECT_EQ(failed, -1);
    root.write("etc.defaults/morvinfo.conf", "");
    EXPECT_EQ(set(users, &failed), 0);
    EXPECT_EQ(MORVUserTotalNum(1), 508);
    EXPECT_TRUE(is_like_new(root));
}

TEST_F(ChangeTest, HomesAreMadeBelowTheirFolderOnly) {
    const auto home_of = [&](const char *home) {
        const User user = make("h", "x", 0, "", home);
        EXPECT_EQ(MORVUserSet(nullptr, user.get()), 0) << home;
        EXPECT_EQ(MORVUserDelete("h"), 0);
        return root.names("var/services/homes");
    };
    using Names = std::vector<std::string>;
    for (const char *home :
         {"/home/h", "/var/services/homes/..", "/var/services/homes/", "/var/services/homes/a/b", "relative"})
        EXPECT_EQ(home_of(home), Names{});
    EXPECT_EQ(home_of("/var/services/homes/other"), Names{"other"});
    chmod(root.path("var/services/homes/other").c_str(), 0500);
    home_of("/var/services/homes/other");
    EXPECT_EQ(mode_of(root.path("var/services/homes/other")), 0500u);
    // One that was made for a change which then failed is removed.
    mkdir(root.path("etc/shadow.tmp").c_str(), 0700);
    before = root.files();
    EXPECT_EQ(MORVUserSet(nullptr, make("h").get()), -1);
    EXPECT_EQ(root.names("var/services/homes"), Names{"other"});
    EXPECT_EQ(root.files(), before);
}

TEST_F(ChangeTest, OddLinesOfTheUserAreDealtWith) {
    const struct {
        const char *what;
        Edit edit;
        int set_code;  // of changing the user; the password can always be changed
    } cases[] = {
        {"no smbpasswd line", {kSmb, before[kSmb].substr(before[kSmb].find("alice")), kLastSmb}, 0},
        {"a short smbpasswd line",
         {kSmb, "586C:[U          ]:LCT-4D000000:\nBob", "586C:[U\nBob"},
         ERR_FORMAT_ERROR},
        {"no shadow line",
         {"etc/shadow", "alice:$1$ef$0123456789abcdefghijkl:19000:0:99999:7::20000:\n", ""},
         0},
        {"no line of its own", {kMisc, "alice:3:notes\n", ""}, 0},
        {"no last line feeds",
         {"etc/passwd", "zoë:x:1028:100:Zoë:/var/services/homes/zoë:/bin/csh\n+nis::::::\n", "x:y"},
         0},
        {"lines of nobody", {kMisc, "alice:3", "ALICE2:1:\nalice:3"}, 0},
        {"two lines, other uids", {"etc/passwd", "alice:x", "Alice:x:1500:1::/:/s\nalice:x"}, 0},
        {"two lines, one uid", {"etc/passwd", "alice:x", "Alice:x:1026:1::/:/s\nalice:x"}, 0},
        {"two more lines", {kMisc, "alice:3", "ALICE:1:\nalice:3"}, 0},
        {"the marker in somebody's text",
         {kMisc, "#$_@UID__INDEX@_$1028$\nadmin:31:", "admin:31:x#$_@UID__INDEX@_$1028$y"},
         0},
        {"a blank in front of a number", {"etc/passwd", "alice:x:1026", "alice:x: 1026"}, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        root.reset();
        root.write(c.edit.file,
                   AccountRoot::with(root.files(), c.edit.file, c.edit.from, c.edit.to)[c.edit.file],
                   stat_of(root.path(c.edit.file)).st_mode & 07777);
        const User alice = get("alice"), other = make("other"), renamed = make("alice2");
        ASSERT_TRUE(alice);
        alice->privilege = 12;
        EXPECT_EQ(MORVUserSet("alice", alice.get()), c.set_code ? -1 : 0);
        EXPECT_EQ(c.set_code ? MLIBErrGet() : 0, c.set_code);
        EXPECT_TRUE(is_like_new(root));
        EXPECT_EQ(MORVUserSetPasswd("alice", "secret"), 0);
        EXPECT_TRUE(is_like_new(root));
        EXPECT_EQ(get("alice")->privilege, c.set_code ? 3 : 12);
        EXPECT_NE(root.read(kSmb).find("alice:1026:"s + kLmNt), std::string::npos);
        EXPECT_EQ(MORVUserSet(nullptr, other.get()), 0);
        EXPECT_NE(root.read(kMisc).find("#$_@UID__INDEX@_$1029$"), std::string::npos);
        EXPECT_EQ(MORVUserPrivilegeGet("admin"), 31);
        EXPECT_NE(root.read(kMisc).find("admin:31:"), std::string::npos);
        renamed->uid = 1026;
        EXPECT_EQ(MORVUserSet("alice", renamed.get()), 0);
        EXPECT_TRUE(is_like_new(root));
        EXPECT_EQ(MORVUserDelete("alice2"), 0);
        EXPECT_TRUE(is_like_new(root));
        for (const auto &[name, text] : root.files())
            EXPECT_TRUE(text.find("alice2:") == text.npos && text.find("\nalice:") == text.npos)
                << name << text;
    }
}

TEST_F(ChangeTest, OwnersModesAndLinksOfTheFilesStay) {
    const std::string shadow = root.path("etc/shadow"), real = root.path("flash/shadow");
    rename(shadow.c_str(), real.c_str());
    ASSERT_EQ(symlink("../flash/shadow", shadow.c_str()), 0);
    ASSERT_TRUE(geteuid() != 0 || chown(real.c_str(), 12, 34) == 0);
    chmod(real.c_str(), 0460);
    ASSERT_EQ(MORVUserSetPasswd("alice", "secret"), 0);
    struct stat link;
    EXPECT_TRUE(lstat(shadow.c_str(), &link) == 0 && S_ISLNK(link.st_mode));
    EXPECT_NE(root.read("etc/shadow"), before["etc/shadow"]);
    EXPECT_EQ(mode_of(real), 0460u);
    EXPECT_TRUE(geteuid() != 0 || (stat_of(real).st_uid == 12 && stat_of(real).st_gid == 34));
    EXPECT_EQ(root.names("flash"), std::vector<std::string>{"shadow"});
    EXPECT_TRUE(is_like_new(root));
}

// The records of the groups' mirror.
std::vector<std::string> groups(const ScratchRoot &root) {
    char *buffer = nullptr;
    int size = 0;
    EXPECT_GE(MORVUserGetValidUserList("@users", &buffer, &size), 0);
    free(buffer);
    std::vector<std::string> all;
    MORVBDB *const db = MORVBDbOpen(root.path("tmp/.db.group.name.0957").c_str(), O_RDONLY, 0);
    void *key = nullptr, *value = nullptr;
    int key_size = 0, value_size = 0;
    while (db && MORVBDbCursorGet(db, 1, &key, &key_size, &value, &value_size) == 0)
        all.push_back(static_cast<char *>(value));
    MORVBDbFree(key);
    MORVBDbFree(value);
    MORVBDbClose(db);
    return all;
}

TEST_F(ChangeTest, TheGroupsMirrorFollows) {
    // "gone" is in lists already.
    const User gone = make("gone"), fresh = make("fresh"), alice = get("alice");
    std::string name = "gone";
    alice->szName = name.data();
    const std::function<int()> changes[] = {
        [&] { return MORVUserSet(nullptr, fresh.get()); }, [&] { return MORVUserSet(nullptr, gone.get()); },
        [&] { return MORVUserSet("alice", alice.get()); }, [] { return MORVUserDelete("alice"); },
        [&] { return MORVUserSet("zoë", make("ZOË", "x", 1028).get()); }};
    for (const auto &change : changes) {
        SCOPED_TRACE(&change - changes);
        root.reset();
        if (&change == changes + 3)
            root.write("etc/group", root.read("etc/group") + "x:x:65540:bob smith, Alice,alice\n");
        if (&change == changes + 2) root.write("etc/group", "users:x:100:gone,bob\nstaff:x:65536:zoë\n");
        groups(root);
        const ino_t inode = stat_of(root.path("tmp/.db.group.name.0957")).st_ino;
        ASSERT_EQ(change(), 0);
        const auto now = groups(root);
        EXPECT_EQ(stat_of(root.path("tmp/.db.group.name.0957")).st_ino == inode,
                  &change != changes + 1 && &change != changes + 2);
        unlink(root.path("tmp/.db.group.name.0957").c_str());
        EXPECT_EQ(now, groups(root));
    }
}

// ---- The mirror's functions, as a caller would use them -------------------------------------------------

TEST_F(ChangeTest, AMirrorIsChangedDumpedAndRenamedIntoPlace) {
    ASSERT_EQ(ErrMLIBFileLock(MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB | MORV_LOCK_WRITE, 5), 0);
    UserDb db(MORVUserDBOpen());
    ASSERT_TRUE(db);
    // Nothing changed: no new versions. And those of a process that was killed are not taken for one's own.
    for (const char *stale :
         {"etc/passwd.tmp", "etc/shadow.tmp", "etc/morvuser.conf.tmp", "usr/morv/etc/private/smbpasswd.tmp"})
        root.write(stale, "half of a li");
    EXPECT_EQ(MORVUserDBDump(db.get()), 0);
    EXPECT_EQ(MORVUserRenameTmpFiles(), 0);
    EXPECT_EQ(root.files(), before);
    EXPECT_TRUE(root.is_tidy());

    const User bob = make("Bob Smith", "secret", 1027, "x"), fresh = make("Fresh", "secret", 1040),
               alice = get("alice");
    std::string name = "Alicia";
    alice->szName = name.data();
    EXPECT_EQ(MORVUserDBSet(db.get(), nullptr, 0, fresh.get()), 0);
    EXPECT_EQ(MORVUserDBSet(db.get(), "BOB SMITH", 9, bob.get()), 0);
    EXPECT_EQ(MORVUserDBSet(db.get(), "ALICE", 5, alice.get()), 0);
    EXPECT_EQ(MORVUserDBDelete(db.get(), "ZOË"), 0);
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_USER, MORVUserDBDelete(db.get(), "ZOË")));
    EXPECT_TRUE(gives(-1, ERR_NO_SUCH_USER, MORVUserDBSet(db.get(), "ALICE", 5, alice.get())));
    EXPECT_TRUE(gives(-1, ERR_USER_EXISTS, MORVUserDBSet(db.get(), nullptr, 0, fresh.get())));
    EXPECT_TRUE(gives(-1, ERR_INVALID_USERNAME, MORVUserDBSet(db.get(), nullptr, 0, make("a:b").get())));
    EXPECT_TRUE(refuses(-1, MORVUserDBSet(db.get(), nullptr, 0, make("a", "x", 0, "\n").get())));
    EXPECT_EQ(root.files(), before);
    for (const bool rename : {false, true}) {
        EXPECT_EQ(MORVUserDBDump(db.get()), 0);
        EXPECT_EQ(mode_of(root.path("etc/shadow.tmp")), 0600u);
        EXPECT_EQ(mode_of(root.path("etc/passwd.tmp")), 0644u);
        EXPECT_EQ(rename ? MORVUserRenameTmpFiles() : MORVUserRemoveTmpFiles(), 0);
        EXPECT_TRUE(root.is_tidy());
        EXPECT_EQ(root.files() != before, rename);
    }
    // The stores do not know where the line of somebody renamed was.
    const std::string old_alice =
        "alice:x:1026:100:Alice;, of accounting:/var/services/homes/alice:/bin/csh\n";
    Files wanted = before;
    for (const Edit &e : {Edit{"etc/passwd", "zoë:x:1028:100:Zoë:/var/services/homes/zoë:/bin/csh\n", ""},
                          {"etc/passwd", old_alice, ""},
                          {"etc/passwd", "1027:100:", "1027:100:x"}})
        wanted = AccountRoot::with(wanted, e.file, e.from, e.to);
    EXPECT_EQ(root.read("etc/passwd"), wanted["etc/passwd"] + "Alicia" + old_alice.substr(5) +
                                           "Fresh:x:1040:100::/var/services/homes/Fresh:/bin/csh\n");
    db.reset();
    EXPECT_EQ(ErrMLIBFileUnlock(MORV_LOCK_PW | MORV_LOCK_GR | MORV_LOCK_SMB), 0);
    EXPECT_EQ(get("fresh")->uid, 1040u);
    EXPECT_STREQ(get("alicia")->szPassword, hash_of_alice.c_str());
    EXPECT_FALSE(get("zoë"));
    EXPECT_TRUE(is_like_new(root));
}

TEST_F(ChangeTest, AWalkOverTheMirrorMeetsEveryUserOnce) {
    const UserDb db(MORVUserDBOpen());
    std::vector<std::string> names;
    MORVUSER *user = nullptr;
    while (MORVUserDBGetByCursor(db.get(), &user) == 0)
        names.push_back(user->szName);
    EXPECT_EQ(MLIBErrGet(), ERR_STORE_END);
    MORVUserFree(user);
    EXPECT_EQ(names, (std::vector<std::string>{"admin", "alice", "Bob Smith", "daemon", "guest", "http",
                                               "root", "zoë"}));
}

}  // namespace
