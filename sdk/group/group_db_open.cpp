#include "core/account/group_mirror.h"
#include "core/base/fail.h"

extern "C" MORVGROUPDB *MORVGroupDBOpen(void) noexcept {
    morv::MirrorPtr mirror;
    if (const int code = morv::open_mirror(morv::group_mirror_kind, morv::Extent::kWhole, &mirror))
        return MORV_FAIL(code, nullptr);
    return morv::group_handle(mirror.release());
}
