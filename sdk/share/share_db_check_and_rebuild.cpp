#include "core/account/share_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVShareDBCheckAndRebuild(MORVSHAREDB **ppDb) noexcept {
    if (!ppDb || !*ppDb) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    morv::MirrorPtr mirror(morv::mirror_of(*ppDb));
    bool replaced = false;
    const int code = morv::refresh_mirror(&mirror, &replaced);
    *ppDb = morv::share_handle(mirror.release());
    return code ? MORV_FAIL(code, -1) : int{replaced};
}
