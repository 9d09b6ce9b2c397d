// What is left when a system call fails, a process is killed, or many work at once.
#include <algorithm>
#include <map>
#include <set>

#include "autoblock/block_root.h"
#include "support/process.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

const auto kNow = int32_t(BlockRoot::kStart);

struct Rewrite {
    const char *name;
    int (*run)();
    std::vector<Record> done;
};

const std::vector<Record> kBefore = {{kNow - 5, "192.0.2.1"}, {kNow - 4, "192.0.2.2"}};

uint32_t some[] = {address_of("192.0.2.2"), address_of("192.0.2.3"), 0};

const Rewrite kRewrites[] = {
    {"add", [] { return MORVAutoBlockIPAdd("192.0.2.3"); }, {kBefore[0], kBefore[1], {kNow, "192.0.2.3"}}},
    {"add many",
     [] { return MORVAutoBlockIPsAdd(some) < 0 ? -1 : 0; },
     {kBefore[0], {kNow, "192.0.2.2"}, {kNow, "192.0.2.3"}}},
    {"delete", [] { return MORVAutoBlockIPsDel(some); }, {kBefore[0]}},
    {"fail",
     [] { return MORVAutoBlockFailLoginSet("192.0.2.3"); },
     {kBefore[0], kBefore[1], {kNow, "192.0.2.3"}}},
};

const std::vector<Record> kFailuresBefore = {{kNow - 1, "192.0.2.3"}, {kNow - 1, "192.0.2.3"}};

void prepare(const BlockRoot &root) {
    root.write(BlockRoot::kDeny, bytes_of(kBefore), 0640);
    root.write(BlockRoot::kFailures, bytes_of(kFailuresBefore), 0666);
}

// What the lists must be after anything.
void check(const BlockRoot &root, const Rewrite &rewrite) {
    const std::vector<Record> now = root.denied();
    EXPECT_TRUE(now == kBefore || now == rewrite.done) << root.read(BlockRoot::kDeny).size();
    EXPECT_EQ(mode_of(root.path(BlockRoot::kDeny)), 0640u);
}

TEST(Faults, LeaveTheOldOrTheNewListWholeAndNothingBesideIt) {
    const BlockRoot root;
    MORVSetLogConf();
    waits_are_over = true;
    ASSERT_EQ(MORVAutoBlockIPAdd("192.0.2.9"), 0) << "makes the lock";
    for (const Rewrite &rewrite : kRewrites) {
        std::set<Sys> reached;
        const int faults = for_each_sys_fault([&](Sys which, int nth) {
            SCOPED_TRACE(std::string(rewrite.name) + ": " + sys_name(which) + " " + std::to_string(nth));
            prepare(root);
            const int descriptors = open_descriptors();
            int result;
            bool hit;
            {
                const SysFault fault(which, nth);
                result = rewrite.run();
                hit = fault.reached();
            }
            check(root, rewrite);
            EXPECT_TRUE(result == 0 || result == -1);
            if (result == 0) {
                EXPECT_EQ(root.denied(), rewrite.done);
            }
            EXPECT_EQ(root.names("etc"), BlockRoot::names_in_etc());
            EXPECT_EQ(open_descriptors(), descriptors);
            if (hit) reached.insert(which);
            return hit;
        });
        SCOPED_TRACE(rewrite.name);
        EXPECT_GT(faults, 8);
        for (const Sys needed : {Sys::kRead, Sys::kWrite, Sys::kRename, Sys::kFsync, Sys::kAllocation})
            EXPECT_TRUE(reached.contains(needed)) << sys_name(needed);
    }
}

TEST(Faults, AKillAnywhereIsMadeUpForByTheNextCall) {
    const BlockRoot root;
    MORVSetLogConf();
    for (const Rewrite &rewrite : kRewrites) {
        SCOPED_TRACE(rewrite.name);
        int kills = 0;
        for (bool killed = true; killed; kills += killed) {
            prepare(root);
            killed = in_child([&] {
                         kill_at_call(kills + 1);
                         return rewrite.run();
                     }) == -1;
            check(root, rewrite);
            // Failures that were forgotten before the block was written are to come again.
            for (int i = 0; i == 0 || (i < 3 && root.denied() == kBefore); ++i)
                EXPECT_EQ(rewrite.run(), 0) << kills;
            EXPECT_EQ(root.denied().size(), rewrite.done.size()) << kills;
            EXPECT_EQ(root.names("etc"), BlockRoot::names_in_etc()) << kills;
        }
        EXPECT_GT(kills, 8);
    }
}

TEST(Contention, AListThatIsReplacedBeforeItIsLockedIsOpenedAnew) {
    const BlockRoot root;
    MORVAutoBlockIPAdd("192.0.2.1");
    before_lock = [] { in_child([] { return MORVAutoBlockIPAdd("192.0.2.2"); }); };
    EXPECT_EQ(MORVAutoBlockIPAdd("192.0.2.3"), 0);
    EXPECT_EQ(root.denied().size(), 3u);
    MORVAutoBlockFailLoginSet("192.0.2.4");
    before_lock = [&] { rename(root.path(BlockRoot::kFailures).c_str(), root.path("tmp/x").c_str()); };
    EXPECT_EQ(MORVAutoBlockFailLoginSet("192.0.2.5"), 0);
    EXPECT_EQ(root.failures(), (std::vector<Record>{{kNow, "192.0.2.5"}}));
}

TEST(Contention, FortyProcessesLoseNoFailureAndBlockEachAddressOnce) {
    const BlockRoot root;
    root.settings({40, 5, 0, 0});
    constexpr int kProcesses = 40, kAddresses = 100;
    const Reader reader(root.path(BlockRoot::kDeny), [](const std::string &list) {
        const std::vector<Record> records = records_of(list);
        return list.size() % 8 == 0 && std::ranges::all_of(records, [](const Record &record) {
                   return record.first == kNow && record.second.starts_with("198.51.100.");
               });
    });
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process) {
        const pid_t child = fork();
        if (child == 0) {
            int failed = 0;
            for (int i = 0; i < kAddresses; ++i) {
                // Each begins elsewhere. The first of them leaves half of the addresses out.
                const int address = (i * 7 + process * 13) % kAddresses;
                if (process == 0 && address % 2 == 1) continue;
                const std::string text = "198.51.100." + std::to_string(address + 1);
                failed |= MORVAutoBlockFailLoginSet(text.c_str());
            }
            _exit(failed == 0 ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children)
        EXPECT_EQ(wait_for(child), 0);

    std::map<std::string, int> denied, told;
    for (const auto &[time, address] : root.denied())
        ++denied[address];
    for (const std::string &event : root.events())
        ++told[event];
    EXPECT_EQ(told.size(), size_t{kAddresses} / 2);
    for (int i = 0; i < kAddresses; ++i) {
        const std::string text = "198.51.100." + std::to_string(i + 1);
        EXPECT_EQ(denied[text], i % 2 == 0 ? 1 : 0) << text;
        EXPECT_EQ(told["12A00003 " + text], i % 2 == 0 ? 1 : 0) << text;
    }
    // One failure more, and the others follow: none was lost.
    for (int i = 1; i < kAddresses; i += 2)
        EXPECT_EQ(MORVAutoBlockFailLoginSet(("198.51.100." + std::to_string(i + 1)).c_str()), 0);
    EXPECT_EQ(root.denied().size(), size_t{kAddresses});
    EXPECT_EQ(reader.bad(), 0);
}

}  // namespace
