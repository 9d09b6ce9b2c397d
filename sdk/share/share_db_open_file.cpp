#include "core/account/share_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVShareDBOpenFile(MORVSHAREDB **ppDb, const char *path) noexcept {
    if (!ppDb || !path || !*path) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    morv::MirrorPtr mirror;
    bool built;
    if (const int code = morv::open_mirror_at(morv::share_mirror_kind, path, &mirror, &built))
        return MORV_FAIL(code, -1);
    const morv::MirrorPtr old(morv::mirror_of(*ppDb));
    *ppDb = morv::share_handle(mirror.release());
    return built;
}
