#include <morvsdk/internal/user.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "support/alloc_fault.h"
#include "support/outcome.h"

using namespace testing_support;

namespace {

struct FreeUser {
    void operator()(MORVUSER *user) const { MORVUserFree(user); }
};
using User = std::unique_ptr<MORVUSER, FreeUser>;

int fill(MORVUSER **slot, const char *name, const char *description = nullptr,
         const char *home = "/var/services/homes/x") {
    return MORVUserAlloc(slot, name, "$1$hash", 1024, 100, description, home, "/bin/csh", -1, 0, nullptr, 3);
}

TEST(UserRecord, HoldsItsTextsBehindTheHeaderOneAfterTheOther) {
    MORVUSER *made = nullptr;
    ASSERT_EQ(
        MORVUserAlloc(&made, "zoë", "$1$h", 4294967294u, 100, "a:b", nullptr, "", 19000, 1, "extra", -1), 0);
    const User user(made);
    const char *const texts = reinterpret_cast<const char *>(made + 1);
    ASSERT_EQ(made->allocated, int(sizeof(MORVUSER) + sizeof("zoë\0$1$h\0a:b\0extra")));
    EXPECT_EQ(memcmp(texts, "zoë\0$1$h\0a:b\0extra", sizeof("zoë\0$1$h\0a:b\0extra")), 0);
    EXPECT_STREQ(made->szName, "zoë");
    EXPECT_STREQ(made->szExtra, "extra");
    for (const char *empty : {made->szHome, made->szShell})
        EXPECT_EQ(empty, reinterpret_cast<const char *>(made) + made->allocated - 1);
    EXPECT_EQ(made->uid, 4294967294u);
    EXPECT_EQ(made->expireDay, 19000);
    EXPECT_EQ(made->noPasswordChange, 1);
    EXPECT_EQ(made->privilege, -1);
    EXPECT_EQ(made->type, MORV_USER_LOCAL);
}

TEST(UserRecord, IsUsedAgainAndGrown) {
    MORVUSER *slot = nullptr;
    ASSERT_EQ(fill(&slot, "alice", "the first one"), 0);
    const MORVUSER *const first = slot;
    const int size = slot->allocated;
    ASSERT_EQ(fill(&slot, "HOME\\bob"), 0);
    EXPECT_EQ(slot, first) << "a smaller record has room";
    EXPECT_EQ(slot->allocated, size);
    EXPECT_EQ(slot->type, MORV_USER_DOMAIN);
    EXPECT_STREQ(slot->szDescription, "");
    ASSERT_EQ(fill(&slot, "carol", std::string(5000, 'd').c_str()), 0);
    EXPECT_GT(slot->allocated, 5000);
    EXPECT_STREQ(slot->szName, "carol");
    MORVUserFree(slot);
}

TEST(UserRecord, StaysWhenANewOneIsRefused) {
    MORVUSER *slot = nullptr;
    ASSERT_EQ(fill(&slot, "alice", "d"), 0);
    EXPECT_TRUE(refuses(-1, fill(nullptr, "bob")));
    EXPECT_TRUE(refuses(-1, fill(&slot, nullptr)));
    EXPECT_TRUE(refuses(-1, fill(&slot, "")));
    EXPECT_TRUE(refuses(-1, fill(&slot, slot->szName)));
    EXPECT_TRUE(refuses(-1, fill(&slot, "bob", "d", slot->szHome + 3)));
    EXPECT_TRUE(refuses(-1, fill(&slot, "bob", reinterpret_cast<char *>(slot) + slot->allocated - 1)));
    const std::string large(5000, 'd');
    EXPECT_EQ(for_each_alloc_fault([&](int) {
                  const int result = fill(&slot, "bob", large.c_str());
                  const bool reached = AllocFault::disarm();
                  EXPECT_TRUE(gives(reached ? -1 : 0, reached ? ERR_OUT_OF_MEMORY : 0, result));
                  EXPECT_STREQ(slot->szName, reached ? "alice" : "bob");
                  return reached;
              }),
              1);
    MORVUserFree(slot);
}

TEST(UserRecord, OfAConstantPasswordCanBeFreed) {
    MORVUSER *user = nullptr;
    ASSERT_EQ(fill(&user, "alice"), 0);
    user->szPassword = const_cast<char *>("a new password");
    MORVUserFree(user);
    MORVUserFree(nullptr);
}

TEST(UserName, FollowsTheRule) {
    const std::string wide = "\xC3\xA4", four = "\xF0\x9F\x94\x91";
    const auto many = [](const std::string &c, int n) {
        std::string all;
        for (int i = 0; i < n; ++i)
            all += c;
        return all;
    };
    for (const std::string &name :
         std::vector<std::string>{"a", "Bob Smith", "a.b-c_9", "_x", "9", "日本", "a-", many("x", 64),
                                  many(wide, 64), many(four, 64)})
        EXPECT_EQ(BlMLIBIsUserName(name.c_str()), 1) << name;
    for (const std::string &name : std::vector<std::string>{
             "", " a", "-a", "a ", "a:b", "a\\b", "a/b", "a\tb", "a\nb", "a@b", "a,b", "a$", "a\x7F",
             many("x", 65), many(wide, 65), "a\xC3", "\xC3(", "\xED\xA0\x80", "a" + many("\x80", 300)})
        EXPECT_EQ(BlMLIBIsUserName(name.c_str()), 0) << name;
    EXPECT_EQ(BlMLIBIsUserName(nullptr), 0);
}

// A buffer that is lent to one call after the other.
struct Buffer {
    void *at = nullptr;
    int size = 0;
    ~Buffer() { free(at); }
};

TEST(PasswdLine, IsCutIntoSevenFields) {
    Buffer buffer;
    struct passwd *entry = nullptr;
    ASSERT_EQ(MORVUserDBPasswdUnpack("Bob Smith:x: +7zz:4294967294:a;,b::/bin/csh", &buffer.at, &buffer.size,
                                     &entry),
              0);
    EXPECT_EQ(entry, buffer.at);
    EXPECT_STREQ(entry->pw_name, "Bob Smith");
    EXPECT_EQ(entry->pw_uid, 7u);
    EXPECT_EQ(entry->pw_gid, 4294967294u);
    EXPECT_STREQ(entry->pw_gecos, "a;,b");
    EXPECT_STREQ(entry->pw_dir, "");
    EXPECT_STREQ(entry->pw_shell, "/bin/csh");

    ASSERT_EQ(MORVUserDBPasswdUnpack("::::::", &buffer.at, &buffer.size, &entry), 0);
    EXPECT_STREQ(entry->pw_shell, "");
    for (const char *line : {"", "root", "a:x:0:0:b:c", "a:x:0:0:b:c:d:", ":::::::"})
        EXPECT_TRUE(
            gives(-1, ERR_FORMAT_ERROR, MORVUserDBPasswdUnpack(line, &buffer.at, &buffer.size, &entry)));
    EXPECT_TRUE(refuses(-1, MORVUserDBPasswdUnpack(entry->pw_name, &buffer.at, &buffer.size, &entry)));
    EXPECT_TRUE(refuse_nulls(-1, MORVUserDBPasswdUnpack, MORVUserDBShadowUnpack, MORVUserDBPack,
                             MLIBSmbLmHash, MLIBSmbMd4Hash));
}

TEST(PasswdLine, NeverTurnsALargeNumberIntoTheSuperuser) {
    Buffer buffer;
    struct passwd *entry = nullptr;
    for (const char *number :
         {"4294967296", "18446744073709551616", "99999999999999999999999999", "-4294967296"}) {
        const std::string line = std::string("a:x:") + number + ":" + number + ":::";
        ASSERT_EQ(MORVUserDBPasswdUnpack(line.c_str(), &buffer.at, &buffer.size, &entry), 0);
        EXPECT_NE(entry->pw_uid, 0u) << number;
        EXPECT_NE(entry->pw_gid, 0u) << number;
    }
}

TEST(ShadowLine, HasEmptyNumbersBelowZero) {
    Buffer buffer;
    struct spwd *entry = nullptr;
    ASSERT_EQ(MORVUserDBShadowUnpack("bob:$1$x:19000:0:99999:7::20000:", &buffer.at, &buffer.size, &entry),
              0);
    EXPECT_STREQ(entry->sp_pwdp, "$1$x");
    const long numbers[] = {entry->sp_lstchg, entry->sp_min,   entry->sp_max,
                            entry->sp_warn,   entry->sp_inact, entry->sp_expire};
    const long expected[] = {19000, 0, 99999, 7, -1, 20000};
    EXPECT_TRUE(std::equal(std::begin(numbers), std::end(numbers), expected));
    EXPECT_EQ(entry->sp_flag, 0u);
    ASSERT_EQ(MORVUserDBShadowUnpack("bob:*::::::99999999999:5", &buffer.at, &buffer.size, &entry), 0);
    EXPECT_EQ(entry->sp_lstchg, -1);
    EXPECT_EQ(entry->sp_expire, 2147483647);
    EXPECT_EQ(entry->sp_flag, 5u);
    for (const char *line : {"bob:*:::::::", "bob:*:::::::::"}) {
        const bool fits = strlen(line) == 12;
        EXPECT_TRUE(gives(fits ? 0 : -1, fits ? 0 : ERR_FORMAT_ERROR,
                          MORVUserDBShadowUnpack(line, &buffer.at, &buffer.size, &entry)));
    }
}

TEST(PasswdLine, IsPrintedWithTheDescriptionEncoded) {
    MORVUSER *made = nullptr;
    ASSERT_EQ(MORVUserAlloc(&made, "bob", "secret", 1026, 100, "a:b;c", "/h", "/s", -1, 0, "", 0), 0);
    const User user(made);
    const std::string line = "bob:x:1026:100:a;,b;;c:/h:/s";
    const int size = int(line.size()) + 1;
    std::string buffer(size_t(size), '#');
    EXPECT_EQ(MORVUserDBPack(made, buffer.data(), size), size);
    EXPECT_STREQ(buffer.c_str(), line.c_str());
    EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, MORVUserDBPack(made, buffer.data(), size - 1)));
    made->szDescription = made->szHome = made->szShell = nullptr;
    EXPECT_EQ(MORVUserDBPack(made, buffer.data(), size), int(sizeof "bob:x:1026:100:::"));
    EXPECT_STREQ(buffer.c_str(), "bob:x:1026:100:::");
}

std::string hex(const uint8_t (&hash)[16]) {
    std::string text;
    for (const uint8_t byte : hash) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02X", byte);
        text += digits;
    }
    return text;
}

// The expected hashes come from `openssl enc -des-ecb` and `openssl dgst -md4`, given what each method
// encrypts.
TEST(SmbHashes, AreThoseThatFileServersExpect) {
    const struct {
        const char *password, *lm, *nt;
    } cases[] = {
        {"", "AAD3B435B51404EEAAD3B435B51404EE", "31D6CFE0D16AE931B73C59D7E0C089C0"},
        {"password", "E52CAC67419A9A224A3B108F3FA6CB6D", "8846F7EAEE8FB117AD06BDD830B7586C"},
        {"Geheim:Wort14!", "2FAF83E9763A7838BD65899E4115528E", "984993651473051B4793A9070827706E"},
        {"longer than fourteen bytes", "41741BA6F039A1C1823A4C81F4AA8325",
         "5A1843CBB4D90A6624D497A4CCB87AAE"},
        {"Größe né", "EACBE6BB444EB0E9980F6842FEBB93BA", "5046973230FEB1788CD4DBA46245E4DA"},
        {"pass\U0001F511wörd", "1BB396761D5BAC7367D273ED45D1DFD4", "AC7F534C882661C2C419697E35120CDD"},
        {"日本語pw", "57B691DFB2CF6EC8D2E4D4C55DBB4FAF", "5D51FEAC5B3AE93F6EDBE4716857553B"},
    };
    for (const auto &c : cases) {
        uint8_t hash[16];
        EXPECT_EQ(MLIBSmbLmHash(c.password, hash), 0);
        EXPECT_EQ(hex(hash), c.lm) << c.password;
        EXPECT_EQ(MLIBSmbMd4Hash(c.password, hash), 0);
        EXPECT_EQ(hex(hash), c.nt) << c.password;
    }
    uint8_t hash[16];
    EXPECT_TRUE(refuses(-1, MLIBSmbMd4Hash("caf\xE9", hash)));
    EXPECT_EQ(MLIBSmbLmHash("caf\xE9", hash), 0);
}

TEST(SaltCharacter, IsTheAbsoluteValueModulo64) {
    const struct {
        int number;
        char character;
    } cases[] = {{0, '0'},  {9, '9'},  {10, 'A'}, {35, 'Z'},  {36, 'a'},       {61, 'z'},
                 {62, '.'}, {63, '/'}, {64, '0'}, {-10, 'A'}, {INT32_MIN, '0'}};
    for (const auto &c : cases)
        EXPECT_EQ(MORVUserRandomNumMap2Seed(c.number), c.character) << c.number;
}

}  // namespace
