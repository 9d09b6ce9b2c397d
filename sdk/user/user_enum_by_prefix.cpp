#include "core/account/user_list.h"
#include "core/base/fail.h"

extern "C" int MORVUserEnumByPrefix(MLIBSZLIST **ppList, int mask, const char *prefix) noexcept {
    if (!prefix) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code = morv::list_users(ppList, mask, prefix, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
