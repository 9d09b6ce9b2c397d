#include "shares.h"
#include "support/outcome.h"

using namespace testing_support;
using namespace share_test;

namespace {

TEST(Rights, OfAUserComeFromTheListsBeforeTheAccessOfEverybody) {
    const AccountRoot root;
    const struct {
        Spec share;
        const char *user, *text;
    } cases[] = {
        {{"s", "/s"}, "alice", "alice - RO"},
        {{.name = "s", .path = "/s", .access = MORV_SHARE_READ_WRITE}, "alice", "alice - RW"},
        {{.name = "s", .path = "/s", .access = MORV_SHARE_NO_ACCESS}, "alice", "alice - NA"},
        {{"s", "/s", "", "Alice"}, "ALICE", "ALICE - NA"},
        {{"s", "/s", "", "@staff", "alice"}, "alice", "alice - NA"},
        {{"s", "/s", "", "@staff", "", "@users"}, "alice", "alice - NA"},
        {{"s", "/s", "", "alice", "alice", "alice"}, "alice", "alice - NA"},
        {{"s", "/s", "", "", "@größe", "@staff"}, "alice", "alice - RW"},
        {{"s", "/s", "", "", "@größe,@gone", "zoë"}, "zoë", "zoë - RW"},
        {{"s", "/s", "", "", "@users"}, "zoë", "zoë - RW"},
        {{"s", "/s", "", "@users"}, "Bob Smith", "Bob Smith - NA"},
        {{"s", "/s", "", "", "@users"}, "gone", "gone - RO"},
    };
    for (const auto &c : cases) {
        const MORVSHARE share = c.share.record();
        const size_t length = strlen(c.text);
        char text[32];
        const std::string right = c.text + length - 2;
        const int access = right == "RW"   ? MORV_SHARE_READ_WRITE
                           : right == "NA" ? MORV_SHARE_NO_ACCESS
                                           : MORV_SHARE_READ_ONLY;
        EXPECT_EQ(ParseRights(&share, c.user, text, int(length) + 1), access) << text_of(c.share);
        EXPECT_STREQ(text, c.text) << text_of(c.share);
        EXPECT_TRUE(gives(-1, ERR_NOT_ENOUGH_MEMORY, ParseRights(&share, c.user, text, int(length))));
    }
}

TEST(RightsLists, AreComparedWithTheirGroupsTakenAsMembers) {
    const AccountRoot root;
    const struct {
        const char *no_access, *read_write, *read_only;
        int result;
    } cases[] = {
        {nullptr, nullptr, nullptr, 0}, {"", "alice", "zoë", 0},     {"", "alice", "ALICE", 2},
        {"", "", "alice, alice", 1},    {"", "", "@staff,alice", 1}, {"", "", "@staff,zoë", 0},
        {"zoë", "@größe", "", 2},       {"", "@staff", "@größe", 2}, {"gone", "", "gone", 2},
        {"@none", "", "@none", 0},      {"", "@users", "zoë", 2},    {"alice,alice", "zoë", "zoë", 2},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(UserCheckRights(c.no_access, c.read_write, c.read_only), c.result)
            << (c.no_access ? c.no_access : "null") << " / " << (c.read_only ? c.read_only : "null");
    }
    remove(root.path("etc/group").c_str());
    EXPECT_EQ(UserCheckRights("", "@staff", ""), -1);
}

}  // namespace
