#include "core/account/share_dump.h"
#include "core/account/share_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

extern "C" int MORVShareDBDump(MORVSHAREDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::no_throw([&] { return morv::dump_shares(*morv::mirror_of(db)); });
    return code ? MORV_FAIL(code, -1) : 0;
}
