#include "core/account/group_change.h"
#include "core/base/fail.h"

extern "C" int MORVGroupSet(const char *oldName, const MORVGROUP *group) noexcept {
    if (!group || !group->szName) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const morv::GroupChange change = {oldName, group, nullptr};
    const int code = morv::change_groups({&change, 1});
    return code ? MORV_FAIL(code, -1) : 0;
}
