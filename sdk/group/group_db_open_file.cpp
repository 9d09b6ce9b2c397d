#include "core/account/group_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVGroupDBOpenFile(MORVGROUPDB **ppDb, const char *prefix) noexcept {
    if (!ppDb || !prefix || !*prefix) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    morv::MirrorPtr mirror;
    bool built;
    if (const int code = morv::open_mirror_at(morv::group_mirror_kind, prefix, &mirror, &built))
        return MORV_FAIL(code, -1);
    const morv::MirrorPtr old(morv::mirror_of(*ppDb));
    *ppDb = morv::group_handle(mirror.release());
    return built;
}
