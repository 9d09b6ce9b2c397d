// What the tests of users share: records and handles that free themselves, and mirrors compared record by
// record.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <morvsdk/bdb.h>
#include <morvsdk/error.h>
#include <morvsdk/user.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "support/accounts.h"
#include "support/hashes.h"
#include "support/outcome.h"

namespace user_test {

// The time that the library is told; 0: the true one.
extern time_t faked_time;

struct Free {
    void operator()(MORVUSER *user) const { MORVUserFree(user); }
    void operator()(MORVUSERDB *db) const { MORVUserDBClose(db); }
};
using User = std::unique_ptr<MORVUSER, Free>;
using UserDb = std::unique_ptr<MORVUSERDB, Free>;

inline User get(const char *name) {
    MORVUSER *user = nullptr;
    MORVUserGet(name, &user);
    return User(user);
}

// A record to be written; uid 0: the next free one.
inline User make(const char *name, const char *password = "secret", uint32_t uid = 0,
                 const char *description = "", const char *home = "", const char *extra = "") {
    MORVUSER *user = nullptr;
    MORVUserAlloc(&user, name, password, uid, 100, description, home, "", -1, 0, extra, 1);
    return User(user);
}

inline std::vector<std::string> enumerate(int mask) {
    testing_support::List list;
    const int count = MORVUserEnum(list.address(), mask);
    auto names = list.items();
    if (count != int(names.size())) names.push_back("failed with " + std::to_string(MLIBErrGet()));
    return names;
}

inline constexpr const char *kStores[] = {".name.0957", ".misc.0957", ".shadow.0957", ".smb.0957",
                                          ".uid.0957"};

inline std::string store_path(const testing_support::ScratchRoot &root, const char *suffix,
                              const char *prefix = "/tmp/.db.user") {
    return root.dir() + prefix + suffix;
}

// All records of the five stores but those that differ with each building, sorted.
inline std::vector<std::string> records(const testing_support::ScratchRoot &root,
                                        const char *prefix = "/tmp/.db.user") {
    std::vector<std::string> all;
    for (const char *suffix : kStores) {
        MORVBDB *const db = MORVBDbOpen(store_path(root, suffix, prefix).c_str(), O_RDONLY, 0);
        if (!db) {
            all.push_back(std::string(suffix) + " cannot be opened");
            continue;
        }
        void *key = nullptr, *value = nullptr;
        int key_size = 0, value_size = 0;
        while (MORVBDbCursorGet(db, 0, &key, &key_size, &value, &value_size) == 0) {
            const std::string k(static_cast<char *>(key), size_t(key_size));
            if (k == "#MORV@SOURCES" || k == std::string(MORV_BDB_EXPIRE_TIME)) continue;
            all.push_back(suffix + (" " + k) + " = " +
                          std::string(static_cast<char *>(value), size_t(value_size)));
        }
        MORVBDbFree(key);
        MORVBDbFree(value);
        MORVBDbClose(db);
    }
    std::sort(all.begin(), all.end());
    return all;
}

// Whether the live mirror, as a reader finds it, holds what one built from the files now holds.
inline testing::AssertionResult is_like_new(const testing_support::ScratchRoot &root) {
    constexpr const char *kFresh = "/tmp/fresh";
    if (!get("root")) return testing::AssertionFailure() << "not read, code " << MLIBErrGet();
    for (const char *suffix : kStores)
        unlink(store_path(root, suffix, kFresh).c_str());
    MORVUSERDB *db = nullptr;
    if (MORVUserDBOpenFile(&db, (root.dir() + kFresh).c_str()) != 1)
        return testing::AssertionFailure() << "not built";
    MORVUserDBClose(db);
    const auto live = records(root), fresh = records(root, kFresh);
    for (const char *suffix : kStores)
        unlink(store_path(root, suffix, kFresh).c_str());
    std::vector<std::string> lost, extra;
    std::set_difference(fresh.begin(), fresh.end(), live.begin(), live.end(), std::back_inserter(lost));
    std::set_difference(live.begin(), live.end(), fresh.begin(), fresh.end(), std::back_inserter(extra));
    if (lost.empty() && extra.empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "lacks " << testing::PrintToString(lost) << "\nhas " << testing::PrintToString(extra);
}

// The inodes of the live stores: others when they were built anew.
inline std::vector<ino_t> inodes(const testing_support::ScratchRoot &root) {
    std::vector<ino_t> found;
    for (const char *suffix : kStores)
        found.push_back(testing_support::stat_of(store_path(root, suffix)).st_ino);
    return found;
}

}  // namespace user_test
