#include <string.h>

#include "core/account/user_change.h"
#include "core/account/user_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" int MORVUserDBSet(MORVUSERDB *db, const char *oldUpperName, int oldLength,
                             const MORVUSER *user) noexcept {
    if (!db || !user || (oldUpperName && oldLength < 1)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        std::string old;
        if (oldUpperName) old.assign(oldUpperName, strnlen(oldUpperName, static_cast<size_t>(oldLength)));
        return put_user(*mirror_of(db), old, *user);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
