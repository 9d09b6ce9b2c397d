#include "core/account/user_change.h"
#include "core/account/user_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

extern "C" int MORVUserDBDump(MORVUSERDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::no_throw([&] { return morv::dump_users(*morv::mirror_of(db)); });
    return code ? MORV_FAIL(code, -1) : 0;
}
