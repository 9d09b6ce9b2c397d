#include "core/account/user_change.h"
#include "core/base/fail.h"

extern "C" int MORVUserSetOne(const MORVUSER *user) noexcept {
    if (!user || !user->szName) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::UserChange change = {user->szName, user, nullptr, true};
    const int code = morv::change_users({&change, 1}, nullptr);
    return code ? MORV_FAIL(code, -1) : 0;
}
