#include <morvsdk/group.h>

#include "core/account/account_list.h"
#include "core/base/fail.h"

extern "C" int MORVGroupEnum(MLIBSZLIST **ppList, int mask) noexcept {
    if (!ppList || !*ppList || !(mask & (MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN)))
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code = morv::list_names(morv::group_listing, ppList, mask, nullptr, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
