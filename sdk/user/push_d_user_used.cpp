#include "core/account/user_list.h"
#include "core/base/fail.h"

extern "C" int MORVPushDUserUsed(MLIBSZLIST **ppList) noexcept {
    if (!ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code = morv::list_domain_users_in_use(ppList, {}, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
