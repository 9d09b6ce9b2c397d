#include "core/account/share_change.h"
#include "core/base/fail.h"

extern "C" int MORVShareSet(const char *oldName, const MORVSHARE *share) noexcept {
    if (!share || !share->szName || !share->szPath || (oldName && !*oldName))
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::set_share(oldName, *share);
    return code ? MORV_FAIL(code, -1) : 0;
}
