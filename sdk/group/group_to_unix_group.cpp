#include <morvsdk/internal/group.h>

#include "core/account/record.h"
#include "core/base/fail.h"
#include "group/unix_group.h"

extern "C" int MORVGroupToUnixGroup(const MORVGROUP *group, void **ppBuffer, int *pSize,
                                    struct group **ppUnix) noexcept {
    if (!group || !group->szName || !*group->szName || !ppBuffer || !pSize || *pSize < 0 || !ppUnix) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const char *const members = group->szMembers ? group->szMembers : "";
    if (morv::lies_in(group->szName, *ppBuffer, *pSize) || morv::lies_in(members, *ppBuffer, *pSize)) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    if (morv::is_domain_name(group->szName) || group->gid == MORV_GROUP_NO_GID) {
        return MORV_FAIL(ERR_INVALID_GROUPNAME, -1);
    }
    if (int code = morv::make_unix_group(group->szName, "x", group->gid, members, ppBuffer, pSize, ppUnix)) {
        return MORV_FAIL(code, -1);
    }
    return 0;
}
