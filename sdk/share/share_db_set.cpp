#include "core/account/share_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" int MORVShareDBSet(MORVSHAREDB *db, const char *oldUpperName, const MORVSHARE *spec) noexcept {
    if (!db || !spec || !spec->szName || !spec->szPath || (oldUpperName && !*oldUpperName))
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code =
        no_throw([&] { return put_share(*mirror_of(db), oldUpperName ? oldUpperName : "", *spec); });
    return code ? MORV_FAIL(code, -1) : 0;
}
