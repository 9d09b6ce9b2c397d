#include "core/account/user_mirror.h"
#include "core/base/fail.h"

extern "C" MORVUSERDB *MORVUserDBOpen(void) noexcept {
    morv::MirrorPtr mirror;
    if (const int code = morv::open_mirror(morv::user_mirror_kind, morv::Extent::kWhole, &mirror))
        return MORV_FAIL(code, nullptr);
    return morv::user_handle(mirror.release());
}
