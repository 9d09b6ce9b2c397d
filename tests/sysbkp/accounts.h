// Blocks of accounts that are exported from and imported into a scratch root, and what was told of them.
#pragma once

#include <fcntl.h>
#include <morvsdk/internal/sysbkp.h>
#include <unistd.h>

#include <string>

#include "support/accounts.h"
#include "support/backup_file.h"
#include "support/fake_syslog.h"
#include "support/process.h"
#include "support/sys_fault.h"

namespace sysbkp_test {

using namespace testing_support;
using Files = AccountRoot::Files;

// Imports with each system call failing, and killed at each: all files are the old or the new ones.
inline void interrupt(const AccountRoot &root, int (*importer)(int, int, int), const std::string &body,
                      int (*look)()) {
    const Files before = root.files();
    ASSERT_EQ(imported(importer, body), 0) << told();
    const Files after = root.files();
    ASSERT_NE(before, after);
    const auto again = [&] {
        root.reset();
        ASSERT_GT(look(), 0);
    };
    const auto is_whole = [&](bool done, const std::string &where) {
        EXPECT_GT(look(), 0) << where;
        const Files now = root.files();
        EXPECT_TRUE(now == after || (now == before && !done)) << where;
        EXPECT_TRUE(imported(importer, body) == 0 && root.files() == after && root.is_tidy()) << where;
        return !testing::Test::HasFailure();
    };
    const MemoryFile file(body);
    const int faults = for_each_sys_fault([&](Sys which, int nth) {
        again();
        const int descriptors = open_descriptors();
        int result;
        bool reached;
        {
            const SysFault fault(which, nth);
            result = importer(file.fd, 7, 0);
            reached = fault.reached();
        }
        EXPECT_EQ(open_descriptors(), descriptors);
        return is_whole(result == 0, sys_name(which) + std::to_string(nth)) && reached;
    });
    EXPECT_GT(faults, 60);
    int kills = 0;
    for (bool killed = true; killed; ++kills) {
        again();
        const int status = in_child([&] {
            kill_at_call(kills + 1);
            return importer(file.fd, 7, 0);
        });
        killed = status < 0;
        if (!is_whole(status == 0, "killed at " + std::to_string(kills + 1))) return;
    }
    EXPECT_GT(kills, 30);
}

}  // namespace sysbkp_test
