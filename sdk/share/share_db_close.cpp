#include "core/account/share_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVShareDBClose(MORVSHAREDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    morv::MirrorPtr(morv::mirror_of(db)).reset();
    return 0;
}
