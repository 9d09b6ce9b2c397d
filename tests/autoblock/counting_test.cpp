// From failed logins to a block, and to its end.
#include <morvsdk/net.h>

#include "autoblock/block_root.h"
#include "autoblock/names.h"

using namespace testing_support;

namespace {

const auto kNow = int32_t(BlockRoot::kStart);

int fail(const char *client, int times = 1) {
    for (int i = 1; i < times; ++i)
        EXPECT_EQ(MORVAutoBlockFailLoginSet(client), 0);
    return MORVAutoBlockFailLoginSet(client);
}

TEST(Counting, BlocksAtTheLimitAndNotBefore) {
    const BlockRoot root;
    EXPECT_EQ(fail("192.0.2.1", 2), 0);
    EXPECT_EQ(fail("192.0.2.2"), 0);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 0);
    EXPECT_TRUE(root.events().empty());
    EXPECT_EQ(mode_of(root.path(BlockRoot::kFailures)), 0666u);
    root.pass(299);
    EXPECT_EQ(fail("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 1);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("::ffff:192.0.2.1"), 1);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.2"), 0);
    EXPECT_EQ(root.denied(), (std::vector<Record>{{kNow + 299, "192.0.2.1"}}));
    EXPECT_EQ(mode_of(root.path(BlockRoot::kDeny)), 0644u);
    EXPECT_EQ(root.events(), std::vector<std::string>{"12A00003 192.0.2.1"});
    // Its failures are forgotten, and those of others are not.
    EXPECT_EQ(root.failures(), (std::vector<Record>{{0, ""}, {0, ""}, {kNow, "192.0.2.2"}, {0, ""}}));
}

TEST(Counting, ForgetsOldFailuresAndUsesTheirSlots) {
    const BlockRoot root;
    fail("192.0.2.1", 2);
    fail("192.0.2.2");
    root.pass(300);
    // The first slot is taken, the other old ones are emptied.
    EXPECT_EQ(fail("192.0.2.1", 2), 0);
    EXPECT_EQ(root.failures(),
              (std::vector<Record>{{kNow + 300, "192.0.2.1"}, {kNow + 300, "192.0.2.1"}, {0, ""}}));
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 0);
    // When the clock is set back, what happened is still to come and counts.
    root.pass(-100000);
    EXPECT_EQ(fail("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 1);
}

TEST(Counting, FindsTheFailuresOfOneAmongManyWherever) {
    const BlockRoot root;
    // Beyond one window, with the address at both ends of blocks and windows and slots to use in between.
    std::vector<Record> many(20000, {kNow - 10, "198.51.100.1"});
    for (const size_t at : {0, 63, 64, 8191, 8192, 19999})
        many[at] = {kNow - 1, "192.0.2.1"};
    many[100] = {kNow - 301, "192.0.2.1"};
    many[9000] = {0, "192.0.2.1"};
    many[9001] = {kNow - 5000, "198.51.100.9"};
    for (const int attempts : {8, 7}) {
        root.settings({attempts, 5, 0, 0});
        root.write(BlockRoot::kFailures, bytes_of(many), 0666);
        EXPECT_EQ(fail("192.0.2.1"), 0);
        EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), attempts == 7);
        std::vector<Record> expected = many;
        expected[100] = {kNow, "192.0.2.1"};
        expected[9001] = {0, ""};
        if (attempts == 7) {
            for (const size_t at : {0, 63, 64, 100, 8191, 8192, 19999})
                expected[at] = {0, ""};
        }
        EXPECT_EQ(root.failures(), expected);
    }
}

TEST(Counting, ForgetsTheFailuresOfWhoLoggedIn) {
    const BlockRoot root;
    EXPECT_EQ(MORVAutoBlockResetByIP("192.0.2.1"), 0) << "no list";
    EXPECT_EQ(MORVAutoBlockFailCountGet("192.0.2.1"), 0) << "no list";
    EXPECT_FALSE(root.names("tmp").size());
    fail("192.0.2.1", 2);
    fail("192.0.2.2");
    EXPECT_EQ(MORVAutoBlockFailCountGet("::ffff:192.0.2.1"), 2);
    root.pass(300);
    EXPECT_EQ(MORVAutoBlockFailCountGet("192.0.2.1"), 0) << "they are too old";
    root.pass(-1);
    EXPECT_EQ(MORVAutoBlockResetByIP("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockFailCountGet("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockFailCountGet("192.0.2.2"), 1);
    EXPECT_EQ(fail("192.0.2.1", 2), 0);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 0);
}

TEST(Counting, NeverCountsBlocksOrDeniesAnAllowedAddress) {
    const BlockRoot root;
    root.settings({1, 5, 0, 0},
                  "autoblock_allow=\"192.0.2.7, 198.51.100.16 - 198.51.100.31,nonsense,203.0.113.200/25,"
                  "10.0.0.1-10.0.0.0,1.2.3.4/33,,9.9.9.9/\"\n");
    const struct {
        const char *address;
        bool allowed;
    } cases[] = {{"192.0.2.6", false},     {"192.0.2.7", true},      {"192.0.2.8", false},
                 {"198.51.100.15", false}, {"198.51.100.16", true},  {"198.51.100.31", true},
                 {"198.51.100.32", false}, {"203.0.113.127", false}, {"203.0.113.128", true},
                 {"203.0.113.255", true},  {"10.0.0.1", false},      {"1.2.3.4", false},
                 {"9.9.9.9", false}};
    for (const auto &[address, allowed] : cases) {
        SCOPED_TRACE(address);
        root.write(BlockRoot::kDeny, bytes_of({{kNow, address}}));
        EXPECT_EQ(MORVAutoBlockIsDeniedIP(address), allowed ? 0 : 1);
        EXPECT_EQ(MORVAutoBlockIsAllowedIP(address), allowed ? 1 : 0);
        root.write(BlockRoot::kDeny, "");
        EXPECT_EQ(fail(address), 0);
        EXPECT_EQ(root.denied().empty(), allowed);
        EXPECT_EQ(MORVAutoBlockIPAdd(address), allowed ? -1 : 0);
        if (allowed) {
            EXPECT_EQ(MLIBErrGet(), ERR_ACCESS_DENIED);
        }
    }
    // The setting of this moment counts.
    root.settings({1, 5, 0, 0});
    EXPECT_EQ(MORVAutoBlockIsAllowedIP("192.0.2.7"), 0);
    root.settings({1, 5, 0, 0}, "autoblock_allow=0.0.0.0/0\n");
    EXPECT_EQ(MORVAutoBlockIsAllowedIP("192.0.2.7"), 1);
    const uint32_t both[] = {address_of("192.0.2.1"), address_of("255.255.255.255"), 0};
    EXPECT_EQ(MORVAutoBlockIPsAdd(both), 0);
}

TEST(Counting, DoesNothingWhileBlockingIsOff) {
    const BlockRoot root;
    root.settings({0, 0, 0, 0});
    root.write(BlockRoot::kDeny, bytes_of({{kNow, "192.0.2.1"}}));
    EXPECT_EQ(MORVAutoBlockIsEnabled(), 0);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("nobody.example"), 0) << "nothing is looked up";
    EXPECT_EQ(fail("192.0.2.9", 50), 0);
    EXPECT_EQ(root.denied().size(), 1u);
    root.settings({0, 5, 0, 0});
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 1);
    EXPECT_EQ(fail("192.0.2.9", 50), 0);
    EXPECT_EQ(root.denied().size(), 1u);
}

TEST(Counting, LooksNamesUpWithoutALock) {
    const BlockRoot root;
    names_asked = 0;
    not_to_be_locked = {root.path(BlockRoot::kDeny), root.path(BlockRoot::kFailures)};
    root.write(BlockRoot::kDeny, bytes_of({{kNow, "192.0.2.77"}}));
    fail("192.0.2.1");
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("client.example"), 1);
    EXPECT_EQ(fail("client.example"), 0);
    EXPECT_EQ(root.failures()[1].second, "192.0.2.77");
    EXPECT_EQ(MORVAutoBlockResetByIP("client.example"), 0);
    EXPECT_EQ(root.failures()[1].second, "");
    EXPECT_EQ(names_asked, 3);
    EXPECT_FALSE(was_locked);
    for (const char *client : {"nobody.example", "nowhere.example", "0.0.0.0", "::ffff:0.0.0.0", "", "::1"}) {
        SCOPED_TRACE(client);
        for (const auto function : {MORVAutoBlockFailLoginSet, MORVAutoBlockIsDeniedIP,
                                    MORVAutoBlockResetByIP, MORVAutoBlockIPAdd, MORVAutoBlockIsAllowedIP}) {
            MLIBErrSet(ERR_SUCCESS);
            EXPECT_EQ(function(client), -1);
            EXPECT_EQ(MLIBErrGet(), ERR_INVALID_NETNAME);
        }
    }
    EXPECT_EQ(MORVAutoBlockIPAdd("client.example"), -1) << "not dotted";
    EXPECT_EQ(MORVAutoBlockIPAdd("127.1"), -1);
}

TEST(Lookup, AnswersTheDottedAddress) {
    const BlockRoot root;
    char buffer[MORV_IP_TEXT_SIZE];
    names_asked = 0;
    EXPECT_EQ(MORVNetBkpLookupIP("255.255.255.255", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "255.255.255.255");
    EXPECT_EQ(MORVNetBkpLookupIP("::FFFF:192.0.2.5", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "192.0.2.5");
    EXPECT_EQ(names_asked, 0);
    EXPECT_EQ(MORVNetBkpLookupIP("client.example", buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "192.0.2.77");
    EXPECT_EQ(MORVNetBkpLookupIP("client.example", buffer, 10), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_NOT_ENOUGH_MEMORY);
    EXPECT_STREQ(buffer, "192.0.2.77");
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("silent.example"), -1);
    EXPECT_EQ(MLIBErrGet(), ERR_SERVER_UNREACHABLE) << "it may have the name all the same";
}

}  // namespace
