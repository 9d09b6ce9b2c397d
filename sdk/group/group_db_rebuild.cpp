#include "core/account/group_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVGroupDBRebuild(void) noexcept {
    const int code = morv::rebuild_mirror(morv::group_mirror_kind);
    return code ? MORV_FAIL(code, -1) : 0;
}
