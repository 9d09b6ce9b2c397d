// The list of blocked addresses: what is put into it and taken from it, one by one and in bulk.
#include <fcntl.h>
#include <morvsdk/file.h>
#include <morvsdk/internal/autoblock.h>
#include <sys/file.h>
#include <sys/mman.h>

#include "autoblock/block_root.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

const auto kNow = int32_t(BlockRoot::kStart);
constexpr int32_t kDay = 86400;

TEST(BlockList, RenewsABlockWithoutASecondEvent) {
    const BlockRoot root;
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.2"), 0);
    root.pass(10);
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.1"), 0);
    EXPECT_EQ(root.denied(), (std::vector<Record>{{kNow, "192.0.2.2"}, {kNow + 10, "192.0.2.1"}}));
    EXPECT_EQ(root.events().size(), 2u);
    EXPECT_EQ(root.names("etc"), BlockRoot::names_in_etc());
}

TEST(BlockList, LetsABlockEndAfterItsDays) {
    const BlockRoot root;
    MORVAutoBlockIPAdd("192.0.2.1");
    root.pass(kDay - 1);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 1);
    root.pass(1);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 0);
    EXPECT_EQ(root.denied().size(), 1u) << "left for the next writer";
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.2"), 0);
    EXPECT_EQ(root.denied(), (std::vector<Record>{{kNow + kDay, "192.0.2.2"}}));
    root.pass(kDay);
    MORVAutoBlockIPAdd("192.0.2.2");
    EXPECT_EQ(root.events().size(), 3u) << "a block that has ended is none that is renewed";
    root.settings({3, 5, 0, 0});
    root.pass(int64_t{kDay} * 9000);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.2"), 1) << "for ever";
    root.settings({3, 5, 0x7FFFFFFF, 0});
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.2"), 1);
}

TEST(BlockList, GoesOnBeyondTheYear2038) {
    const BlockRoot root;
    *clock_seconds = int64_t{0x7FFFFFFF} - 10;
    MORVAutoBlockIPAdd("192.0.2.1");
    root.pass(20);
    MORVAutoBlockIPAdd("192.0.2.2");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(MORVAutoBlockFailLoginSet("192.0.2.3"), 0);
    for (const char *address : {"192.0.2.1", "192.0.2.2", "192.0.2.3"})
        EXPECT_EQ(MORVAutoBlockIsDeniedIP(address), 1);
    root.pass(kDay - 15);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 0);
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.2"), 1);
}

TEST(BlockList, TakesManyInOneRewriteWithOneEvent) {
    const BlockRoot root;
    root.settings({3, 5, 1, 0}, "autoblock_allow=10.0.0.5\n");
    root.write(BlockRoot::kDeny, bytes_of({{kNow - 2 * kDay, "203.0.113.1"},
                                           {kNow - 5, "203.0.113.2"},
                                           {kNow - 5, "10.0.0.7"},
                                           {0, "203.0.113.9"},
                                           {kNow - 4, "10.0.0.7"}}));
    std::vector<uint32_t> addresses;
    std::vector<Record> expected = {{kNow - 5, "203.0.113.2"}};
    for (int i = 0; i < 30000; ++i) {
        const std::string text = "10.0." + std::to_string(i / 256) + "." + std::to_string(i % 256);
        addresses.insert(addresses.end(), {address_of(text.c_str()), address_of("10.0.0.7")});
        if (i < 1 || (i != 5 && i != 7)) expected.emplace_back(kNow, text);
        if (i == 0) expected.emplace_back(kNow, "10.0.0.7");
    }
    addresses[0] = address_of("10.0.0.0");
    addresses.push_back(0);
    EXPECT_EQ(MORVAutoBlockIPsAdd(addresses.data()), 29998);
    EXPECT_EQ(root.denied(), expected);
    EXPECT_EQ(root.events(), std::vector<std::string>{"12A00005 29998"});
    EXPECT_EQ(MORVAutoBlockIPsAdd(addresses.data()), 0) << "all are blocked already";
    EXPECT_EQ(root.events().size(), 1u);
    EXPECT_EQ(MORVAutoBlockIPsDel(addresses.data()), 0);
    EXPECT_EQ(root.denied(), (std::vector<Record>{{kNow - 5, "203.0.113.2"}}));
    const uint32_t none[] = {0};
    EXPECT_EQ(MORVAutoBlockIPsAdd(none), 0);
    EXPECT_EQ(MORVAutoBlockIPsDel(none), 0);
    unlink(root.path(BlockRoot::kDeny).c_str());
    EXPECT_EQ(MORVAutoBlockIPsDel(addresses.data()), 0) << "no list";
    EXPECT_FALSE(root.has(BlockRoot::kDeny));
}

TEST(BlockList, IsListedFromAnyRecordOn) {
    const BlockRoot root;
    MORV_AUTOBLOCK_IP *list = nullptr;
    EXPECT_EQ(MORVAutoBlockIPGet(&list, 0, 10), 0) << "no file";
    EXPECT_NE(list, nullptr);
    MORVAutoBlockFree(list);
    std::vector<Record> many(9000, {kNow, "192.0.2.1"});
    many[0] = {kNow - kDay, "192.0.2.2"};
    many[1] = {0, ""};
    many[8999] = {kNow - 1, "192.0.2.3"};
    root.write(BlockRoot::kDeny, bytes_of(many) + "torn");
    const struct {
        int index, limit, found;
    } cases[] = {{0, 0x7FFFFFFF, 8998}, {1, 2, 2},    {2, 8997, 8997},
                 {8999, 5, 1},          {9000, 5, 0}, {0x7FFFFFFF, 1, 0}};
    for (const auto &[index, limit, found] : cases) {
        SCOPED_TRACE(index);
        ASSERT_EQ(MORVAutoBlockIPGet(&list, index, limit), found);
        if (index == 8999) {
            EXPECT_EQ(text_of(list[0].address), "192.0.2.3");
        }
        if (index == 1) {
            EXPECT_EQ(list[1].time, kNow);
        }
        MORVAutoBlockFree(list);
    }
    for (const auto &[index, limit] : {std::pair{-1, 1}, {0, 0}, {0, -5}}) {
        EXPECT_EQ(MORVAutoBlockIPGet(&list, index, limit), -1);
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS);
    }
}

TEST(BlockList, DamageIsKeptToldAndDoesNotStopTheBlocking) {
    const BlockRoot root;
    const std::string damaged = bytes_of({{kNow, "192.0.2.1"}}) + "\1\2\3";
    root.write(BlockRoot::kDeny, damaged);
    root.write("etc/morvIPs.deny.damaged", "an older one");
    EXPECT_EQ(MORVAutoBlockIsDeniedIP("192.0.2.1"), 1);
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.2"), 0);
    EXPECT_EQ(root.denied().size(), 2u);
    EXPECT_EQ(root.read("etc/morvIPs.deny.damaged"), damaged);
    EXPECT_EQ(mode_of(root.path("etc/morvIPs.deny.damaged")), 0600u);
    EXPECT_EQ(mode_of(root.path(BlockRoot::kDeny)), 0644u);
    EXPECT_EQ(root.events(),
              (std::vector<std::string>{"12A00006 /etc/morvIPs.deny.damaged", "12A00003 192.0.2.2"}));
}

TEST(BlockList, DamageThatCannotBeKeptIsNotSaidToBe) {
    const BlockRoot root;
    root.write(BlockRoot::kDeny, "torn");
    root.write("etc/morvIPs.deny.damaged/in the way", "");
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.2"), 0);
    EXPECT_EQ(root.denied().size(), 1u);
    EXPECT_EQ(root.events(), std::vector<std::string>{"12A00003 192.0.2.2"});
}

TEST(BlockList, DamageIsKeptWhenTheDiskFailsBehindTheRename) {
    const BlockRoot root;
    MORVAutoBlockIPAdd("192.0.2.1");
    root.write(BlockRoot::kDeny, "torn");
    MORVFileDurabilitySet(MORV_DURABLE);
    {
        const SysFault fault(Sys::kFsync, 2);
        EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.2"), -1);
        EXPECT_TRUE(fault.reached());
    }
    MORVFileDurabilitySet(MORV_ATOMIC);
    EXPECT_EQ(root.denied().size(), 1u);
    EXPECT_EQ(root.read("etc/morvIPs.deny.damaged"), "torn");
}

// ---- the walk --------------------------------------------------------------------------------------------

struct WalkTest : testing::Test {
    WalkTest() {
        root.write("list", bytes_of(records));
        out = open(root.path("out").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    }
    ~WalkTest() override { close(out); }

    AUTOBLOCK_SCAN scan(int operation) const {
        AUTOBLOCK_SCAN request = {};
        request.protection = PROT_READ | PROT_WRITE;
        request.mapFlags = MAP_SHARED;
        request.operation = operation;
        request.lock = LOCK_EX | LOCK_NB;
        request.openFlags = O_RDWR;
        request.size = int64_t(records.size() * 8);
        request.now = kNow;
        request.path = "/list";
        return request;
    }

    BlockRoot root;
    std::vector<Record> records = {{kNow - 9, "192.0.2.1"},
                                   {0, "192.0.2.2"},
                                   {kNow - 2, ""},
                                   {kNow - 1, "192.0.2.2"},
                                   {kNow, "192.0.2.1"}};
    uint32_t first = address_of("192.0.2.1");
    int out;
};

TEST_F(WalkTest, DoesEachOperation) {
    AUTOBLOCK_SCAN request = scan(AUTOBLOCK_COPY_BUT);
    EXPECT_EQ(AutoBlockIMmapProcess(&request, out, &first), 0);
    EXPECT_EQ(records_of(root.read("out")), std::vector<Record>{records[3]});
    request.offset = 8;
    request.maxAge = 2;
    request.size = 32;
    EXPECT_EQ(AutoBlockIMmapProcess(&request, out, &first), 1) << "it is not in this part";
    uint32_t all[] = {first, address_of("192.0.2.2"), 0};
    request = scan(AUTOBLOCK_COPY_BUT_ALL);
    EXPECT_EQ(AutoBlockIMmapProcess(&request, out, all), 0);
    EXPECT_EQ(records_of(root.read("out")), (std::vector<Record>{records[3], records[3]}));
    request = scan(AUTOBLOCK_FIND);
    request.maxAge = 1;
    EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, &first), 1);
    EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, &all[1]), 0) << "too old";

    request = scan(AUTOBLOCK_CALL);
    request.each = [](MORV_AUTOBLOCK_IP *record, int, void *count) {
        record->time = 7;
        return ++*static_cast<int *>(count) == 2 ? 1 : 0;
    };
    int count = 0;
    EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, &count), 1);
    records[0].first = records[3].first = 7;
    EXPECT_EQ(records_of(root.read("list")), records);
    request.mapFlags = MAP_PRIVATE;
    request.each = [](MORV_AUTOBLOCK_IP *record, int, void *) { return record->time = 0; };
    EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, nullptr), 0);
    EXPECT_EQ(records_of(root.read("list")), records) << "what is private stays so";

    request = scan(AUTOBLOCK_CLEAR);
    EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, &first), 0);
    records[0] = records[4] = {0, ""};
    EXPECT_EQ(records_of(root.read("list")), records);
}

TEST_F(WalkTest, RefusesWhatCannotBeDone) {
    const struct {
        const char *what;
        int code;
        void (*spoil)(AUTOBLOCK_SCAN &request);
    } cases[] = {
        {"no such operation", ERR_BAD_PARAMETERS, [](auto &r) { r.operation = 5; }},
        {"below the first", ERR_BAD_PARAMETERS, [](auto &r) { r.operation = -1; }},
        {"no path", ERR_BAD_PARAMETERS, [](auto &r) { r.path = nullptr; }},
        {"no function", ERR_BAD_PARAMETERS, [](auto &r) { r.operation = AUTOBLOCK_CALL; }},
        {"clears in a copy", ERR_BAD_PARAMETERS,
         [](auto &r) {
             r.operation = AUTOBLOCK_CLEAR;
             r.mapFlags = MAP_PRIVATE;
         }},
        {"no kind of mapping", ERR_MAP_FAILED, [](auto &r) { r.mapFlags = 0; }},
        {"no file", ERR_FILE_NOT_FOUND, [](auto &r) { r.path = "/nothing"; }},
        {"cannot be written", ERR_WRITE_FAILED, [](auto &r) { r.operation = AUTOBLOCK_COPY_BUT; }},
    };
    const int descriptors = open_descriptors();
    for (const auto &[what, code, spoil] : cases) {
        SCOPED_TRACE(what);
        AUTOBLOCK_SCAN request = scan(AUTOBLOCK_FIND);
        uint32_t other = 1;
        spoil(request);
        EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, &other), -1);
        EXPECT_EQ(MLIBErrGet(), code);
    }
    AUTOBLOCK_SCAN request = scan(AUTOBLOCK_FIND);
    EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, nullptr), -1);
    EXPECT_EQ(AutoBlockIMmapProcess(nullptr, -1, &first), -1);
    request.size = int64_t{1} << 50;
    EXPECT_EQ(AutoBlockIMmapProcess(&request, -1, &first), 1) << "the file ends sooner";
    EXPECT_EQ(open_descriptors(), descriptors);
}

}  // namespace
