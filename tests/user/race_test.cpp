// Several processes at once: writers that each have their own users, and readers.
#include <morvsdk/file.h>

#include <functional>
#include <set>
#include <sstream>

#include "support/process.h"
#include "user/users.h"

using namespace testing_support;
using namespace user_test;

namespace {

constexpr int kWriters = 4, kReaders = 4, kUsers = 8, kRounds = 3;

// Runs a change until it gets the lock. Answers whether it was made.
bool does(const std::function<int()> &change) {
    for (int i = 0; i < 20; ++i) {
        if (change() == 0) return true;
        if (MLIBErrGet() != ERR_LOCK_FAILED) return false;
    }
    return false;
}

std::string name_of(int writer, int i) {
    return "user" + std::to_string(writer) + "x" + std::to_string(i);
}

// Adds its users, gives each another privilege and a password, and deletes every second one, again and again.
int write_users(int writer) {
    for (int round = 0; round < kRounds; ++round) {
        for (int i = 0; i < kUsers; ++i) {
            const std::string name = name_of(writer, i);
            const bool there = round > 0 && i % 2 == 1;
            const User made = make(name.c_str());
            if (!there && !does([&] { return MORVUserSet(nullptr, made.get()); })) return 1;
            const User user = get(name.c_str());
            if (!user) return 2;
            user->privilege = round;
            if (!does([&] { return MORVUserSetOne(user.get()); })) return 3;
            if (i % 2 == 0 && !does([&] { return MORVUserDelete(name.c_str()); })) return 4;
        }
    }
    return 0;
}

// Looks at users who are there all the time, and at whoever else is.
int read_users(volatile int *stop) {
    for (int looks = 0; !*stop && looks < 100000; ++looks) {
        MORVUSER *user = nullptr;
        const bool failed = looks % 2 ? MORVUserGet("ALICE", &user) != 0 : MORVUserGetByUID(1026, &user) != 0;
        const User guard(user);
        if (failed && MLIBErrGet() != ERR_LOCK_FAILED) return 1;
        if (!failed && (std::string(user->szName) != "alice" || std::string(user->szExtra) != "notes"))
            return 2;
        List list;
        const int count = MORVUserEnum(list.address(), MORV_USER_LOCAL);
        if (count < 0 ? MLIBErrGet() != ERR_LOCK_FAILED : count < 5 || count > 5 + kWriters * kUsers)
            return 3;
        usleep(2000);
    }
    return 0;
}

std::set<std::string> fields(const std::string &text, int nth) {
    std::set<std::string> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream rest(line);
        std::string field;
        for (int i = 0; i <= nth && std::getline(rest, field, ':'); ++i) {
        }
        if (line.starts_with("user") && !found.insert(field).second) found.insert("twice: " + field);
    }
    return found;
}

TEST(UserRace, NoChangeIsLostAndNoReaderIsMisled) {
    AccountRoot root;
    SharedCounts stop;
    std::vector<pid_t> writers, readers;
    const auto start = [](std::vector<pid_t> &pids, const std::function<int()> &body) {
        const pid_t pid = fork();
        if (pid == 0) _exit(body());
        pids.push_back(pid);
    };
    for (int i = 0; i < kReaders; ++i)
        start(readers, [&] { return read_users(stop.at); });
    for (int i = 0; i < kWriters; ++i)
        start(writers, [&] { return write_users(i); });
    for (const pid_t pid : writers)
        EXPECT_EQ(wait_for(pid), 0);
    stop.at[0] = 1;
    for (const pid_t pid : readers)
        EXPECT_EQ(wait_for(pid), 0);

    std::set<std::string> names;
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int i = 1; i < kUsers; i += 2) {
            names.insert(name_of(writer, i));
            const User user = get(name_of(writer, i).c_str());
            EXPECT_TRUE(user && user->privilege == kRounds - 1);
        }
    }
    for (const char *file :
         {"etc/passwd", "etc/shadow", "etc/morvuser.conf", "usr/morv/etc/private/smbpasswd"})
        EXPECT_EQ(fields(root.read(file), 0), names) << file;
    EXPECT_EQ(fields(root.read("etc/passwd"), 2).size(), names.size()) << "a uid twice";
    EXPECT_EQ(root.read("etc/shadow").find(std::string(1, '\0')), std::string::npos);
    EXPECT_TRUE(root.is_tidy());
    EXPECT_TRUE(is_like_new(root));
}

}  // namespace
