#include "core/account/user_change.h"
#include "core/base/fail.h"

extern "C" int MORVUserDelete(const char *name) noexcept {
    if (!name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::UserChange change = {name, nullptr, nullptr, false};
    const int code = morv::change_users({&change, 1}, nullptr);
    return code ? MORV_FAIL(code, -1) : 0;
}
