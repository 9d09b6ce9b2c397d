#include <morvsdk/user.h>

#include "core/account/user_list.h"
#include "core/base/fail.h"

extern "C" int MORVUserTotalNum(int mask) noexcept {
    if (!(mask & (MORV_USER_LOCAL | MORV_USER_DOMAIN))) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code = morv::count_users(mask, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
