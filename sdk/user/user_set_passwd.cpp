#include "core/account/user_change.h"
#include "core/base/fail.h"

extern "C" int MORVUserSetPasswd(const char *name, const char *password) noexcept {
    if (!name || !password) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::UserChange change = {name, nullptr, password, false};
    const int code = morv::change_users({&change, 1}, nullptr);
    return code ? MORV_FAIL(code, -1) : 0;
}
