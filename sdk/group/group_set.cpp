#include "core/account/group_change.h"
#include "core/base/fail.h"

extern "C" int MORVGroupSet(const char *oldName, const MORVGROUP *group) noexcept {
    if (!group || !group->szName) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::change_group({oldName, group, nullptr});
    return code ? MORV_FAIL(code, -1) : 0;
}
