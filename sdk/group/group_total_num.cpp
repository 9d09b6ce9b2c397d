#include <morvsdk/group.h>

#include "core/account/account_list.h"
#include "core/base/fail.h"

extern "C" int MORVGroupTotalNum(int mask) noexcept {
    if (!(mask & (MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN))) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code = morv::count_names(morv::group_listing, mask, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
