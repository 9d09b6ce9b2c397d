#include <morvsdk/file.h>
#include <morvsdk/user.h>
#include <stdlib.h>

#include "core/account/limits.h"
#include "core/base/fail.h"

extern "C" int MORVConfGetUserLimit(void) noexcept {
    morv::Limit limit;
    if (const int code = morv::read_limit("maxaccounts", &limit)) return MORV_FAIL(code, -1);
    if (limit.is_empty) return 0;
    const int there = MORVUserTotalNum(MORV_USER_LOCAL | MORV_USER_DOMAIN);
    return there < 0 ? MORV_FAIL(MLIBErrGet(), -1) : limit.most - there;
}
