#include <morvsdk/user.h>

#include <iterator>

#include "core/account/record.h"
#include "core/base/fail.h"

extern "C" int MORVUserAlloc(MORVUSER **ppUser, const char *name, const char *password, uint32_t uid,
                             uint32_t gid, const char *description, const char *home, const char *shell,
                             int32_t expireDay, int32_t noPasswordChange, const char *extra,
                             int32_t privilege) noexcept {
    if (!ppUser || !name || !*name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const char *const texts[] = {name, password, description, home, shell, extra};
    char *copies[std::size(texts)];
    void *block = *ppUser;
    int32_t size = block ? (*ppUser)->allocated : 0;
    if (int code = morv::make_record(&block, &size, sizeof(MORVUSER), texts, copies)) {
        return MORV_FAIL(code, -1);
    }
    auto *const user = static_cast<MORVUSER *>(block);
    user->szName = copies[0];
    user->szPassword = copies[1];
    user->uid = uid;
    user->gid = gid;
    user->szDescription = copies[2];
    user->szHome = copies[3];
    user->szShell = copies[4];
    user->expireDay = expireDay;
    user->noPasswordChange = noPasswordChange;
    user->szExtra = copies[5];
    user->type = morv::is_domain_name(user->szName) ? MORV_USER_DOMAIN : MORV_USER_LOCAL;
    user->privilege = privilege;
    user->allocated = size;
    *ppUser = user;
    return 0;
}
