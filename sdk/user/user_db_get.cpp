#include "core/account/user_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" int MORVUserDBGet(MORVUSERDB *db, const char *upperName, MORVUSER **ppUser) noexcept {
    if (!db || !upperName || !ppUser) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        UserLines lines;
        const int failed = read_user_lines(*mirror_of(db), upperName, &lines);
        return failed ? failed : make_user(lines, ppUser);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
