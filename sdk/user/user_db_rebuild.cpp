#include "core/account/user_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVUserDBRebuild(void) noexcept {
    const int code = morv::rebuild_mirror(morv::user_mirror_kind);
    return code ? MORV_FAIL(code, -1) : 0;
}
