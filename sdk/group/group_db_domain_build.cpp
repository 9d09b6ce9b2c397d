#include <morvsdk/internal/group.h>

#include "core/account/group_mirror.h"
#include "core/base/fail.h"

extern "C" int GroupDBDomainBuild(MORVGROUPDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::build_domain_groups(*morv::mirror_of(db));
    return code ? MORV_FAIL(code, -1) : 0;
}
