#include "core/account/user_list.h"
#include "core/base/fail.h"

extern "C" int MORVUserEnum(MLIBSZLIST **ppList, int mask) noexcept {
    int count;
    const int code = morv::list_users(ppList, mask, nullptr, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
