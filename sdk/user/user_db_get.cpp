#include "core/account/user_mirror.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVUserDBGet(MORVUSERDB *db, const char *upperName, MORVUSER **ppUser) noexcept {
    if (!db || !upperName || !ppUser) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    UserText text;
    int code = find_user(*mirror_of(db), upperName, &text);
    if (code == 0) code = make_user(text, ppUser);
    return code ? MORV_FAIL(code, -1) : 0;
}
