#include "core/account/group_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVGroupDBGetFreeGid(MORVGROUPDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t gid;
    const int code = morv::find_free_id(db->pId, morv::gid_range, nullptr, &gid);
    return code ? MORV_FAIL(code, -1) : static_cast<int>(gid);
}
