#include "core/account/group_change.h"
#include "core/base/fail.h"

extern "C" int MORVGroupDescSet(const char *name, const char *text) noexcept {
    if (!name || !text) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::GroupChange change = {name, nullptr, text};
    const int code = morv::change_groups({&change, 1});
    return code ? MORV_FAIL(code, -1) : 0;
}
