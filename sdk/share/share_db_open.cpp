#include "core/account/share_mirror.h"
#include "core/base/fail.h"

extern "C" MORVSHAREDB *MORVShareDBOpen(void) noexcept {
    morv::MirrorPtr mirror;
    if (const int code = morv::open_mirror(morv::share_mirror_kind, morv::Extent::kWhole, &mirror))
        return MORV_FAIL(code, nullptr);
    return morv::share_handle(mirror.release());
}
