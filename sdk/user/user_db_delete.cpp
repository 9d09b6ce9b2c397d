#include "core/account/user_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

extern "C" int MORVUserDBDelete(MORVUSERDB *db, const char *upperName) noexcept {
    if (!db || !upperName) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::no_throw([&] { return morv::erase_user(*morv::mirror_of(db), upperName); });
    return code ? MORV_FAIL(code, -1) : 0;
}
