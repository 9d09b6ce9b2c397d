// A result and the error code beside it, looked at together.
#pragma once

#include <gtest/gtest.h>
#include <morvsdk/error.h>

namespace testing_support {

// Whether a call answered `result` and left `code`, which is then cleared for the next call:
//
//     EXPECT_TRUE(gives(-1, ERR_OPEN_FAILED, MLIBFileReadLines("/missing", &list)));
template <class R, class E>
testing::AssertionResult gives(E result, int code, R got) {
    const int left = MLIBErrGet();
    MLIBErrSet(ERR_SUCCESS);
    if (got == result && left == code) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "answered " << got << " with code " << std::hex << left;
}

template <class R, class E>
testing::AssertionResult refuses(E result, R got) {
    return gives(result, ERR_BAD_PARAMETERS, got);
}

// Whether each of the functions refuses arguments that are all null or zero.
template <class E, class R, class... Args>
bool refuses_null(E result, R (*call)(Args...)) {
    return refuses(result, call(Args{}...));
}
template <class E, class... Calls>
testing::AssertionResult refuse_nulls(E result, Calls... calls) {
    int nth = 0, accepting = 0;
    ((++nth, accepting = refuses_null(result, calls) ? accepting : nth), ...);
    if (accepting == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "accepted by function " << accepting;
}

}  // namespace testing_support
