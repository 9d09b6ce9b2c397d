#include <morvsdk/internal/user.h>

#include "core/account/user_mirror.h"
#include "core/base/fail.h"

extern "C" int UserDBDomainBuild(MORVUSERDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::build_domain_users(*morv::mirror_of(db));
    return code ? MORV_FAIL(code, -1) : 0;
}
