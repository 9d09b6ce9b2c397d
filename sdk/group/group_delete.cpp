#include "core/account/group_change.h"
#include "core/base/fail.h"

extern "C" int MORVGroupDelete(const char *name) noexcept {
    if (!name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::GroupChange change = {name, nullptr, nullptr};
    const int code = morv::change_groups({&change, 1});
    return code ? MORV_FAIL(code, -1) : 0;
}
