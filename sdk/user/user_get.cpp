#include <morvsdk/file.h>

#include "core/account/named_lines.h"
#include "core/account/reading.h"
#include "core/account/user_mirror.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVUserGet(const char *name, MORVUSER **ppUser) noexcept {
    if (!name || !ppUser) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (!*name) return MORV_FAIL(ERR_INVALID_USERNAME, -1);
    const int code = read_accounts(user_mirror_kind, MORV_LOCK_PW, [&](Mirror &mirror) {
        std::string key;
        UserText text;
        if (!upper_name(name, key)) return int{ERR_NO_SUCH_USER};
        const int failed = find_user(mirror, key.c_str(), &text);
        return failed ? failed : make_user(text, ppUser);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
