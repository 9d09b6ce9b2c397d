// What is left of a change of users that failed or was killed, at every system call and every allocation.
#include <morvsdk/file.h>
#include <morvsdk/internal/user.h>

#include <functional>
#include <set>
#include <span>
#include <sstream>

#include "support/process.h"
#include "support/sys_fault.h"
#include "user/users.h"

using namespace testing_support;
using namespace user_test;
using Files = AccountRoot::Files;

namespace {

constexpr time_t kNow = 1700000000;

// What the calls are given, made before any fault is armed.
struct Given {
    User added = make("new"), second = make("newer"), changed = alice(), renamed = alice();
    std::string name = "alicia", home = "/home/a";
    static User alice() {
        User user = get("alice");  // she may be gone
        return user ? std::move(user) : make("alice");
    }
    Given() {
        changed->privilege = 17;
        changed->szHome = home.data();
        renamed->szName = name.data();
    }
};

struct Change {
    const char *name;
    int (*run)(Given &given);
    int again;  // what a second call fails with; 0: nothing
};

const Change kChanges[] = {
    {"add", [](auto &g) { return MORVUserSet(nullptr, g.added.get()); }, ERR_USER_EXISTS},
    {"change", [](auto &g) { return MORVUserSetOne(g.changed.get()); }, 0},
    {"add two and change one",
     [](auto &g) {
         const MORVUSER *const users[] = {g.added.get(), g.changed.get(), g.second.get()};
         return MORVUserSetMany(users, 3, nullptr);
     },
     ERR_BAD_PARAMETERS},  // uid 0 by now asks for the superuser's
    {"rename", [](auto &g) { return MORVUserSet("alice", g.renamed.get()); }, ERR_NO_SUCH_USER},
    {"password", [](auto &) { return MORVUserSetPasswd("alice", "new"); }, 0},
    {"delete", [](auto &) { return MORVUserDelete("alice"); }, ERR_NO_SUCH_USER},
};

struct UserFaultTest : testing::Test {
    AccountRoot root;
    Files before = root.files();
    UserFaultTest() { faked_time = kNow; }
    ~UserFaultTest() override { faked_time = 0; }

    void restore() {
        for (const char *home : {"new", "newer"})
            rmdir((root.dir() + "/var/services/homes/" + home).c_str());
        root.reset();
        ASSERT_TRUE(get("root"));
    }
    Files after(const Change &change) {
        restore();
        Given given;
        EXPECT_EQ(change.run(given), 0) << change.name;
        const Files done = root.files();
        EXPECT_NE(done, before);
        restore();
        return done;
    }
    // A home for each account that was added, and for none that was not.
    bool homes_agree() const {
        for (const char *name : {"new", "newer"}) {
            const bool there =
                root.read("etc/passwd").find(std::string("\n") + name + ":") != std::string::npos;
            if (there != (stat_of(root.dir() + "/var/services/homes/" + name).st_ino != 0)) return false;
        }
        return true;
    }
};

TEST_F(UserFaultTest, AFailureLeavesAllFilesOldOrAllNew) {
    // With the stronger promise, which makes every system call of the weaker one and those of the folders'
    // sync.
    MORVFileDurabilitySet(MORV_DURABLE);
    for (const Change &change : kChanges) {
        const Files done = after(change);
        std::set<Sys> reached;
        std::set<int> unfinished;
        const int faults = for_each_sys_fault([&](Sys which, int nth) {
            SCOPED_TRACE(std::string(change.name) + ": " + sys_name(which) + " " + std::to_string(nth));
            Given given;
            const int descriptors = open_descriptors();
            MLIBErrSet(ERR_SUCCESS);
            int result;
            bool hit;
            {
                SysFault fault(which, nth);
                result = change.run(given);
                hit = fault.reached();
            }
            const int code = MLIBErrGet();
            EXPECT_EQ(open_descriptors(), descriptors);
            const Files torn = root.files();
            EXPECT_TRUE(get("root")) << MLIBErrGet();
            const Files now = root.files();
            EXPECT_TRUE(now == before || now == done);
            if (torn != now) unfinished.insert(code);
            EXPECT_TRUE(result == 0 ? now == done : code != ERR_SUCCESS)
                << "a success that did not do its work";
            // Only what fails behind the first rename leaves the new files.
            const bool may_be_new = code == ERR_RENAME_FAILED || code == ERR_UNLOCK_FAILED ||
                                    which == Sys::kOpen || which == Sys::kFsync;
            EXPECT_TRUE(result == 0 || now == before || may_be_new) << code;
            EXPECT_TRUE(which != Sys::kAllocation || result == 0 || code == ERR_OUT_OF_MEMORY) << code;
            EXPECT_TRUE(root.is_tidy());
            EXPECT_TRUE(homes_agree());
            EXPECT_TRUE(nth % 8 != 0 || is_like_new(root));
            if (now != before) restore();
            if (hit) reached.insert(which);
            return hit && !HasFailure();
        });
        EXPECT_GT(faults, 100) << change.name;
        EXPECT_EQ(unfinished, std::set<int>{ERR_RENAME_FAILED}) << change.name;
        for (const Sys needed : {Sys::kFsync, Sys::kRename, Sys::kFchown, Sys::kAllocation})
            EXPECT_TRUE(reached.contains(needed)) << sys_name(needed);
    }
    MORVFileDurabilitySet(MORV_ATOMIC);
}

// The names and uids of a passwd text, each once.
bool has_nobody_twice(const std::string &passwd) {
    std::set<std::string> names, uids;
    std::istringstream lines(passwd);
    for (std::string line, name, x, uid; std::getline(lines, line);) {
        std::istringstream fields(line);
        if (!std::getline(std::getline(std::getline(fields, name, ':'), x, ':'), uid, ':')) continue;
        if (!names.insert(name).second || !uids.insert(uid).second) return false;
    }
    return true;
}

TEST_F(UserFaultTest, AKillAnywhereIsFinishedOrUndoneByTheNextCall) {
    // Of adding and changing, the two together make every call there is.
    for (const Change &change : std::span(kChanges).subspan(2)) {
        const Files done = after(change);
        int kills = 0, finished = 0;
        for (bool killed = true; killed; kills += killed) {
            SCOPED_TRACE(std::string(change.name) + " killed at " + std::to_string(kills + 1));
            const int status = in_child([&] {
                Given given;
                kill_at_call(kills + 1);
                return change.run(given) == 0 ? 0 : 1;
            });
            killed = status < 0;
            EXPECT_TRUE(killed || status == 0);
            // What lies about is no wider open than what it is to become.
            for (const char *folder : {"etc", "usr/morv/etc/private"}) {
                for (const std::string &name : root.names(folder)) {
                    const bool secret = name.starts_with("shadow") || name.starts_with("smbpasswd") ||
                                        name.starts_with("morvuser") || name.ends_with(".commit");
                    EXPECT_EQ(mode_of(root.path(std::string(folder) + "/" + name)) & (secret ? 0177u : 0133u),
                              0u)
                        << name;
                }
            }
            const Files torn = root.files();
            ASSERT_TRUE(get("root")) << MLIBErrGet();
            Files now = root.files();
            ASSERT_TRUE(now == before || now == done);
            EXPECT_TRUE(now == done || status != 0);
            finished += torn != now;
            EXPECT_TRUE(torn == now || is_like_new(root));
            // The same again.
            const bool was_done = now == done;
            Given given;
            if (was_done && change.again) {
                EXPECT_TRUE(gives(-1, change.again, change.run(given)));
            } else {
                EXPECT_EQ(change.run(given), 0) << MLIBErrGet();
            }
            now = root.files();
            EXPECT_EQ(now, done);
            EXPECT_TRUE(has_nobody_twice(now["etc/passwd"]));
            EXPECT_TRUE(root.is_tidy());
            EXPECT_TRUE(kills % 4 != 0 || is_like_new(root));
            if (HasFailure()) return;
            restore();
        }
        EXPECT_GT(kills, 50) << change.name;
        EXPECT_GT(finished, 0) << change.name;
    }
}

}  // namespace
