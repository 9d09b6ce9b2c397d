#include <morvsdk/user.h>

#include <memory>

#include "core/base/fail.h"
#include "core/base/guard.h"

extern "C" int MORVUserCheckExpired(const char *name) noexcept {
    MORVUSER *user = nullptr;
    if (MORVUserGet(name, &user) != 0) return MORV_FAIL(MLIBErrGet(), -1);
    const std::unique_ptr<MORVUSER, morv::Releaser<MORVUserFree>> guard(user);
    return user->expireDay == MORV_USER_NEVER_EXPIRES ? 0 : MORVUserIsExpired(user->expireDay);
}
