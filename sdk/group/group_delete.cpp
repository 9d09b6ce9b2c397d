#include "core/account/group_change.h"
#include "core/base/fail.h"

extern "C" int MORVGroupDelete(const char *name) noexcept {
    if (!name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::change_group({name, nullptr, nullptr});
    return code ? MORV_FAIL(code, -1) : 0;
}
