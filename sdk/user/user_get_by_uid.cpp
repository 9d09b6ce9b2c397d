#include <morvsdk/file.h>

#include "core/account/reading.h"
#include "core/account/user_mirror.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVUserGetByUID(uint32_t uid, MORVUSER **ppUser) noexcept {
    if (!ppUser) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = read_accounts(user_mirror_kind, MORV_LOCK_PW, [&](Mirror &mirror) {
        std::string key;
        UserText text;
        if (const int failed = find_uid(mirror, uid, key)) return failed;
        const int failed = find_user(mirror, key.c_str(), &text);
        return failed ? failed : make_user(text, ppUser);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
