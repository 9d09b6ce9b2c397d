#include <gtest/gtest.h>
#include <morvsdk/user.h>

#include "sysbkp/accounts.h"

using namespace sysbkp_test;

namespace {

constexpr char kPasswd[] = "etc/passwd";
constexpr char kShadow[] = "etc/shadow";
constexpr char kMisc[] = "etc/morvuser.conf";
constexpr char kSmb[] = "usr/morv/etc/private/smbpasswd";
constexpr char kLm[] = "E52CAC67419A9A224A3B108F3FA6CB6D";
constexpr char kNt[] = "8846F7EAEE8FB117AD06BDD830B7586C";
constexpr char kNoLm[] = "AAD3B435B51404EEAAD3B435B51404EE";
constexpr char kNoNt[] = "31D6CFE0D16AE931B73C59D7E0C089C0";

std::string user(const char *name, const char *hash = "!", const char *full = "", const char *lm = "",
                 const char *nt = "", int64_t expires = -1, int64_t privilege = 0, const char *mail = "",
                 int64_t may_change = 1) {
    return text(name) + text(hash) + text(full) + text(lm) + text(nt) + number(expires) + number(privilege) +
           text(mail) + number(may_change);
}

const std::string kAlice =
    user("alice", "$1$ef$0123456789abcdefghijkl", "Alice: of accounting", kLm, kNt, 20000, 3, "notes");
const std::string kSample =
    number(5) + user("admin", "$1$cd$0123456789abcdefghijkl", "System default user", kNoLm, kNoNt, -1, 31) +
    kAlice + user("Bob Smith", "$1$gh$0123456789abcdefghijkl", "", kLm, kNt, -1, 1, "", 0) +
    user("guest", "", "Guest", kNoLm, kNoNt) + user("zoë", "!", "Zoë");

int import_users(const std::string &body) {
    return imported(MORVSysbkpUserImport, body);
}

int count_users() {
    return MORVUserTotalNum(MORV_USER_LOCAL);
}

TEST(UserBackup, IsTheListedUsersByteForByte) {
    const AccountRoot root;
    EXPECT_EQ(exported(MORVSysbkpUserExport), block(0x100, kSample));

    MORVUSER *alice = nullptr;
    ASSERT_EQ(MORVUserGet("alice", &alice), 0);
    const MemoryFile one;
    EXPECT_EQ(MORVSysbkpIWriteUserData(alice, one.fd), 0);
    MORVUserFree(alice);
    EXPECT_EQ(one.content(), kAlice);
    MORVSYSBKPUSER read = {};
    lseek(one.fd, 0, SEEK_SET);
    ASSERT_EQ(MORVSysbkpIGetUserSetting(one.fd, &read), 0);
    EXPECT_EQ(user(read.szName, read.szPassword, read.szFullName, read.szSmbPassword1, read.szSmbPassword2,
                   read.expireDay, read.privilege, read.szMail, read.mayChangePassword),
              kAlice);
    MORVSysbkpIFreeUserSetting(&read);
    EXPECT_EQ(MORVSysbkpIGetUserSetting(one.fd, &read), -1) << "there is no second one";
    EXPECT_EQ(read.szName, nullptr);

    root.write(kShadow, "alice:malformed\n");
    EXPECT_EQ(MORVSysbkpUserExport(one.fd), -1) << "a backup without her would look complete";
    EXPECT_NE(told().find("user alice: "), std::string::npos);
}

TEST(UserBackup, RestoredOverItselfTouchesNoFile) {
    const AccountRoot root;
    root.write(kMisc, "alice:3:notes:more\nBob Smith:01:\nadmin:31:\n", 0600);  // the others have no line
    const Files before = root.files();
    const std::string body = exported(MORVSysbkpUserExport).substr(12);
    const ino_t inode = stat_of(root.path(kShadow)).st_ino;
    EXPECT_EQ(import_users(body), 0) << told();
    EXPECT_EQ(root.files(), before);
    EXPECT_EQ(stat_of(root.path(kShadow)).st_ino, inode);
}

TEST(UserBackup, BringsUsersWithTheirHashesIntoAnEmptySystem) {
    const AccountRoot root;
    const auto keep = [&](const char *file, std::initializer_list<const char *> names) {
        std::string kept;
        std::istringstream lines(root.read(file));
        for (std::string line; std::getline(lines, line);) {
            for (const char *name : names)
                if (line.starts_with(name)) kept += line + "\n";
        }
        root.write(file, kept, mode_of(root.path(file)));
    };
    for (const char *file : {kPasswd, kShadow, kMisc, kSmb})
        keep(file, {"root:", "admin:"});
    root.write("etc/group", "users:x:100:admin\n");
    EXPECT_EQ(import_users(kSample), 0) << told();
    EXPECT_EQ(exported(MORVSysbkpUserExport), block(0x100, kSample));
    EXPECT_EQ(root.read("etc/group"), "users:x:100:admin,alice,Bob Smith,guest,zoë\n");
    EXPECT_NE(root.read(kPasswd).find(":100:Alice;, of accounting:/var/services/homes/alice:/bin/csh\n"),
              std::string::npos);
    EXPECT_EQ(mode_of(root.path("var/services/homes/zoë")), 0711u);
    EXPECT_EQ(root.read(kSmb).find("zoë"), std::string::npos);
    EXPECT_TRUE(root.is_tidy());
}

TEST(UserBackup, ChangesOfAUserWhatItSaysAndNothingElse) {
    const AccountRoot root;
    const Files before = root.files();
    EXPECT_EQ(import_users(number(2) + user("ALICE", "*", "A", "", "", -1, 7, "a@b", 0) +
                           user("bob smith", "$1$gh$0123456789abcdefghijkl", "", kNoLm, kNt, 30000, 1)),
              0);
    Files after = AccountRoot::with(before, kPasswd, "Alice;, of accounting", "A");
    after = AccountRoot::with(after, kShadow, "alice:$1$ef$0123456789abcdefghijkl:19000:0:99999:7::20000:",
                              "alice:*:19000:100000:99999:7:::");
    after = AccountRoot::with(after, kShadow, "19000:100000:99999:7:::\n# kept",
                              "19000:0:99999:7::30000:\n# kept");
    after = AccountRoot::with(after, kMisc, "alice:3:notes", "alice:7:a@b");
    after = AccountRoot::with(
        after, kSmb, std::string("alice:1026:") + kLm + ":" + kNt + ":[U          ]:LCT-4D000000:\n", "");
    after = AccountRoot::with(after, kSmb, std::string("1027:") + kLm, std::string("1027:") + kNoLm);
    EXPECT_EQ(root.files(), after);
}

TEST(UserBackup, LeavesOutAndNamesThoseThatCannotBe) {
    const AccountRoot root;
    const Files before = root.files();
    const std::string dots(32, '*');
    const std::string faulty[] = {
        user(""),
        user("a/b"),
        user("."),
        user("HOME\\bob"),
        user("hash", "a:0:root"),
        user("hash2", "a\nroot::"),
        user("full", "!", "a\nroot::0:0"),
        user("escape", "!", "\033[31m"),
        user("foreign", "!", "", kNoLm, "31D6CFE0D16AE931B73C59D7E0C089C:"),
        user("mail", "!", "", "", "", -1, 0, "a:b"),
        user("flag", "!", "", "", "", -1, 0, "", 2),
        user("root"),
        user("http"),
        user("ZOË"),
    };
    std::string body = user("past", "!", "", "AAD3", "31D6", -2) +
                       user("future", "!", "", "", "", INT32_MAX) + user("zoë") +
                       user("none", "!", "", dots.c_str(), "NO PASSWORDXXXXXXXXXXXXXXXXXXXXX");
    for (const std::string &record : faulty)
        body += record;
    EXPECT_EQ(import_users(number(4 + std::size(faulty)) + body), -1);
    const std::string problems = told();
    EXPECT_EQ(std::count(problems.begin(), problems.end(), '\n'), int(std::size(faulty))) << problems;
    EXPECT_STREQ(SzMLIBSzHashGetValue(gpshUser, "root"), "an account of the system");
    EXPECT_EQ(MLIBSzHashPairNum(gpshUser), int(std::size(faulty)) - 1);
    EXPECT_EQ(MORVSysbkpFinishImport(-1, 7, 0), 0);
    EXPECT_EQ(gpshUser, nullptr);
    EXPECT_EQ(count_users(), 8);
    EXPECT_NE(root.read(kSmb).find("past:1029:AAD3:31D6:"), std::string::npos) << root.read(kSmb);
    EXPECT_NE(root.read(kSmb).find("none:1031:" + dots + ":NO PASSWORDX"), std::string::npos);
    EXPECT_EQ(root.read("usr/morv/etc/smb.conf"), before.at("usr/morv/etc/smb.conf"));

    // The administrator is left alone, and that is no failure.
    root.reset();
    EXPECT_EQ(import_users(number(1) + user("Admin", "", "", "", "", 1)), 0);
    EXPECT_EQ(root.files(), before);
    EXPECT_NE(logged.find("[admin] is not restored"), std::string::npos);

    // The model takes one more.
    root.write("etc.defaults/morvinfo.conf", "maxaccounts=\"6\"\n");
    EXPECT_EQ(import_users(number(4) + user("anna") + user("bert") + user("alice") + user("carl")), -1);
    EXPECT_EQ(told(),
              "user bert: this model takes no more users\nuser carl: this model takes no more users\n");
    EXPECT_EQ(count_users(), 6);
    EXPECT_NE(root.read(kShadow).find("alice:!:"), std::string::npos);
    MORVSysbkpFinishImport(-1, 7, 0);
}

TEST(UserBackup, ThatIsDamagedIsRestoredUpToTheDamage) {
    const AccountRoot root;
    const std::string anna = user("anna"), both = anna + user("bert");
    std::string bad_type = both;
    bad_type[anna.size() + 3] = 9;
    const struct {
        std::string body;
        int added;
    } cases[] = {
        {"", 0},
        {number(-1) + both, 0},
        {number(1) + both, 1},
        {number(3) + both, 2},
        {number(INT32_MAX) + both, 2},
        {number(2) + both.substr(0, both.size() - 1), 1},
        {number(2) + both.substr(0, anna.size() + 10), 1},
        {number(2) + anna.substr(0, anna.size() - 1), 0},
        {number(2) + bad_type, 1},
        {text("2") + both, 0},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(import_users(c.body), -1);
        EXPECT_EQ(count_users(), 5 + c.added) << told();
        EXPECT_NE(told(), "");
        root.reset();
    }
}

TEST(UserBackup, InterruptedWhileItIsRestoredLeavesWholeFiles) {
    const AccountRoot root;
    interrupt(root, MORVSysbkpUserImport,
              number(2) + user("Bob Smith", "!", "Bob", kNoLm, kNt) + user("alice", "*", "", kLm, kNt),
              count_users);
}

}  // namespace
