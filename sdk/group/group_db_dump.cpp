#include "core/account/group_change.h"
#include "core/account/group_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

extern "C" int MORVGroupDBDump(MORVGROUPDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::no_throw([&] { return morv::dump_groups(*morv::mirror_of(db)); });
    return code ? MORV_FAIL(code, -1) : 0;
}
