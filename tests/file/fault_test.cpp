// What is in a file after a rewrite that failed or was killed, at every system call and every allocation.
#include <gtest/gtest.h>
#include <morvsdk/error.h>
#include <morvsdk/internal/file.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <set>
#include <string>

#include "support/hashes.h"
#include "support/scratch.h"
#include "support/sys_fault.h"

using namespace testing_support;

namespace {

constexpr char kBefore[] = "a=1\n[s]\nkey=old\nother=1\n";

// What the functions are given, made before any fault is armed.
struct Given {
    Hash set{{"key", "new"}, {"fresh", "1"}};
    Hash remove{{"a", ""}};
    Hash pair{{"key", "new"}};
    List fields{{"key"}};
};

struct Rewrite {
    const char *name;
    bool in_place;
    int (*run)(const char *path, Given &given);
};

// Every function that changes a file, each with a change to make in kBefore.
const Rewrite kRewrites[] = {
    {"set key", false, [](auto p, auto &) { return MLIBFileSetKeyValue(p, "key", "new", nullptr); }},
    {"add key", false, [](auto p, auto &) { return MLIBFileSetKeyValue(p, "fresh", "new", nullptr); }},
    {"remove key", false, [](auto p, auto &) { return MLIBFileRemoveKey(p, "key"); }},
    {"set keys", false,
     [](auto p, auto &g) { return MLIBFileSetKeys(p, g.set.get(), g.remove.get(), nullptr); }},
    {"merge pairs", false,
     [](auto p, auto &g) { return MLIBFileMergePairs(p, g.pair.get(), nullptr) == 0 ? 1 : -1; }},
    {"set section", false,
     [](auto p, auto &g) { return ErrMLIBFileSetSection(p, "s", "t", g.pair.get(), nullptr); }},
    {"remove section", false, [](auto p, auto &) { return ErrMLIBFileRemoveSection(p, "s"); }},
    {"set key of a section", false,
     [](auto p, auto &) { return ErrSetSecKeyVal(p, "s", "key", "new", nullptr); }},
    {"add line", false, [](auto p, auto &) { return MLIBFileAddLine(p, "key", "new", 0); }},
    {"set line", false, [](auto p, auto &) { return MLIBFileSetLine(p, "KEY", "new", MORV_LINE_NOCASE); }},
    {"delete line", false, [](auto p, auto &) { return MLIBFileSetLine(p, "key", nullptr, 0); }},
    {"set line by fields", false,
     [](auto p, auto &g) { return MLIBFileSetLineByKey(p, g.fields.get(), "new", "="); }},
    {"add line by fields", false,
     [](auto p, auto &g) { return MLIBFileAddLineByKey(p, g.fields.get(), "new", 0, "="); }},
    {"replace text", false, [](auto p, auto &) { return MLIBFileReplaceSubStr(p, "key", "new"); }},
    {"set content", false, [](auto p, auto &) { return MORVFileSetContent(p, "new", 3) == 0 ? 1 : -1; }},
    {"comment", false, [](auto p, auto &) { return MLIBFileComment(p, "key", 1, 0); }},
    {"comment line", false, [](auto p, auto &) { return MORVFileLineComment(p, "key", 1, 0); }},
    {"append key", true, [](auto p, auto &) { return MLIBFileAppendKey(p, "fresh", "1", nullptr); }},
    {"append line", true, [](auto p, auto &) { return MLIBFileAddLine(p, nullptr, "new", MORV_LINE_AFTER); }},
    {"add section", true,
     [](auto p, auto &g) { return ErrMLIBFileAddSection(p, "fresh", g.pair.get(), nullptr); }},
};

std::string after(const ScratchRoot &root, const Rewrite &rewrite) {
    const std::string path = root.write("reference", kBefore);
    Given given;
    EXPECT_GT(rewrite.run(path.c_str(), given), 0);
    std::string content = root.read("reference");
    unlink(path.c_str());
    EXPECT_NE(content, kBefore);
    return content;
}

const std::set<int> kCodes = {ERR_OPEN_FAILED,  ERR_STAT_FAILED,   ERR_READ_FAILED,
                              ERR_WRITE_FAILED, ERR_RENAME_FAILED, ERR_OUT_OF_MEMORY};

// With the stronger promise, which makes every system call of the weaker one and those of the folder's sync.
struct FaultTest : testing::Test {
    FaultTest() { MORVFileDurabilitySet(MORV_DURABLE); }
    ~FaultTest() override { MORVFileDurabilitySet(MORV_ATOMIC); }
};

// Whether the new content may be there although the function failed: when all that failed came after it. The
// first sync is that of the content.
bool may_be_done(const Rewrite &rewrite, Sys which, int nth) {
    if (rewrite.in_place) return which == Sys::kClose;
    return which == Sys::kOpen || (which == Sys::kFsync && nth > 1);
}

// These answer -1 without a code when the file cannot be opened, or read.
bool may_be_silent(const std::string &name, Sys which) {
    if (name == "remove key") return which == Sys::kOpen;
    return (name == "add section" || name == "set key of a section") && which == Sys::kRead;
}

TEST_F(FaultTest, LeavesTheOldOrTheNewFileWhole) {
    ScratchRoot root;
    std::set<Sys> ever;
    for (const Rewrite &rewrite : kRewrites) {
        const std::string done = after(root, rewrite);
        std::set<Sys> reached;
        const int faults = for_each_sys_fault([&](Sys which, int nth) {
            SCOPED_TRACE(std::string(rewrite.name) + ": " + sys_name(which) + " " + std::to_string(nth));
            const std::string path = root.write("f", kBefore, 0640);
            setxattr(path.c_str(), "user.note", "x", 1, 0);
            const int descriptors = open_descriptors();
            MLIBErrSet(ERR_SUCCESS);
            Given given;
            int result;
            bool hit;
            {
                SysFault fault(which, nth);
                result = rewrite.run(path.c_str(), given);
                hit = fault.reached();
            }
            const std::string now = root.read("f");
            if (result > 0) {
                EXPECT_EQ(now, done) << "a success that did not do its work";
            } else {
                EXPECT_EQ(result, -1);
                EXPECT_TRUE(now == kBefore || (now == done && may_be_done(rewrite, which, nth))) << now;
                EXPECT_TRUE(kCodes.contains(MLIBErrGet()) || may_be_silent(rewrite.name, which))
                    << MLIBErrGet();
            }
            EXPECT_EQ(root.names(), std::vector<std::string>{"f"});
            EXPECT_EQ(mode_of(path), 0640u);
            EXPECT_EQ(open_descriptors(), descriptors);
            if (hit) reached.insert(which);
            return hit;
        });
        SCOPED_TRACE(rewrite.name);
        EXPECT_GT(faults, rewrite.in_place ? 5 : 10);
        EXPECT_TRUE(reached.contains(Sys::kFsync));
        for (const Sys needed : {Sys::kRename, Sys::kFchown})
            EXPECT_TRUE(rewrite.in_place || reached.contains(needed)) << sys_name(needed);
        ever.insert(reached.begin(), reached.end());
    }
    EXPECT_TRUE(ever.contains(Sys::kAllocation));
}

TEST_F(FaultTest, SurvivesAKillAtEverySystemCall) {
    ScratchRoot root;
    for (const Rewrite &rewrite : kRewrites) {
        SCOPED_TRACE(rewrite.name);
        const std::string done = after(root, rewrite);
        int kills = 0;
        for (bool killed = true; killed; kills += killed) {
            const std::string path = root.write("f", kBefore, 0640);
            const pid_t child = fork();
            if (child == 0) {
                Given given;
                kill_at_call(kills + 1);
                _exit(rewrite.run(path.c_str(), given) > 0 ? 0 : 1);
            }
            int status;
            waitpid(child, &status, 0);
            killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
            EXPECT_TRUE(killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0));
            const std::string now = root.read("f");
            if (rewrite.in_place) {
                EXPECT_TRUE(now.starts_with(kBefore) && done.starts_with(now)) << now;
            } else {
                EXPECT_TRUE(now == kBefore || now == done) << now;
            }
            // A killed process cannot clean up, but what it leaves is no wider open than the target.
            for (const std::string &name : root.names()) {
                EXPECT_EQ(mode_of(root.path(name)) & ~0640u, 0u) << name;
                if (name != "f") unlink(root.path(name).c_str());
            }
        }
        EXPECT_GT(kills, rewrite.in_place ? 4 : 8);
    }
}

}  // namespace
