#include <morvsdk/group.h>

#include "core/account/account_list.h"
#include "core/base/fail.h"

extern "C" int MORVGroupEnumByPrefix(MLIBSZLIST **ppList, int mask, const char *prefix) noexcept {
    if (!ppList || !*ppList || !(mask & (MORV_GROUP_LOCAL | MORV_GROUP_DOMAIN)) || !prefix)
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code = morv::list_names(morv::group_listing, ppList, mask, prefix, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
