#include <morvsdk/user.h>

#include <memory>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/text/case.h"

extern "C" int MORVUserPrivilegeGet(const char *name) noexcept {
    if (name && morv::case_equal(name, "guest")) return 0;
    MORVUSER *user = nullptr;
    if (MORVUserGet(name, &user) != 0) return MORV_FAIL(MLIBErrGet(), -1);
    const std::unique_ptr<MORVUSER, morv::Releaser<MORVUserFree>> guard(user);
    return user->privilege;
}
