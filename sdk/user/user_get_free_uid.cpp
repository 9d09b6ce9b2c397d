#include "core/account/user_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVUserDBGetFreeUid(MORVUSERDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t uid;
    const int code = morv::find_free_id(db->pUid, morv::uid_range, nullptr, &uid);
    return code ? MORV_FAIL(code, -1) : static_cast<int>(uid);
}
