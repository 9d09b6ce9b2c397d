// Tables of changes to a file: what it held, the call, its result and code, what it holds after.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <span>
#include <string>

#include "support/outcome.h"
#include "support/scratch.h"

namespace file_test {

struct Edit {
    const char *why;
    std::string before;
    std::function<int(const char *path)> call;
    int result, code;
    std::string after;
};

// A call of F with the path of the file and these arguments.
template <auto F, class... Args>
auto call(Args... args) {
    return [=](const char *path) { return F(path, args...); };
}

inline void expect_edits(std::span<const Edit> edits) {
    testing_support::ScratchRoot root;
    for (const Edit &edit : edits) {
        SCOPED_TRACE(testing::Message() << edit.why << ": " << edit.before);
        const std::string path = root.write("f", edit.before, 0640);
        const auto inode = testing_support::stat_of(path).st_ino;
        MLIBErrSet(ERR_SUCCESS);
        EXPECT_TRUE(testing_support::gives(edit.result, edit.code, edit.call(path.c_str())));
        EXPECT_EQ(root.read("f"), edit.after);
        EXPECT_EQ(testing_support::mode_of(path), 0640u);
        EXPECT_TRUE(edit.before != edit.after || testing_support::stat_of(path).st_ino == inode)
            << "nothing to do, nothing rewritten";
        EXPECT_EQ(root.names(), std::vector<std::string>{"f"});
    }
}

}  // namespace file_test
