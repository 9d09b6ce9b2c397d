#include "core/account/share_change.h"
#include "core/base/fail.h"

extern "C" int MORVShareDelete(const char *name) noexcept {
    if (!name || !*name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::delete_share(name);
    return code ? MORV_FAIL(code, -1) : 0;
}
