// A table of calls whose arguments cannot be taken: each must answer -1 or null and set ERR_BAD_PARAMETERS.
#pragma once

#include <gtest/gtest.h>
#include <morvsdk/error.h>

namespace testing_support {

// Made from the result of a call, and checks it: `const Refused calls[] = {F(nullptr), G(-1)};`
class Refused {
  public:
    Refused(int result, int line = __builtin_LINE()) { check(result == -1, line); }
    Refused(const void *result, int line = __builtin_LINE()) { check(!result, line); }
    ~Refused() {}  // so that a table of them counts as used

  private:
    static void check(bool failed, int line) {
        EXPECT_TRUE(failed) << "line " << line;
        EXPECT_EQ(MLIBErrGet(), ERR_BAD_PARAMETERS) << "line " << line;
        MLIBErrSet(ERR_SUCCESS);
    }
};

}  // namespace testing_support
