#include <morvsdk/internal/user.h>

#include "core/account/group_mirror.h"
#include "core/account/user_mirror.h"
#include "core/account/valid_names.h"
#include "core/base/fail.h"

extern "C" int MORVUserGetValidUserList2(MORVUSERDB *users, MORVGROUPDB *groups, const char *names,
                                         char **buffer, int *pSize) noexcept {
    if (!users || !names || !buffer || !pSize || *pSize < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code =
        morv::valid_names(morv::mirror_of(users), morv::mirror_of(groups), names, buffer, pSize, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
