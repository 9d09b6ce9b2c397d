#include <vector>

#include "core/account/user_change.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" int MORVUserSetMany(const MORVUSER *const *users, int count, int *pFailed) noexcept {
    if (!users || count < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int failed = -1;
    const int code = no_throw([&] {
        std::vector<UserChange> changes;
        for (int i = 0; i < count; ++i) {
            failed = i;
            if (!users[i] || !users[i]->szName) return int{ERR_BAD_PARAMETERS};
            changes.push_back({users[i]->szName, users[i], nullptr, true});
        }
        failed = -1;
        return change_users(changes, &failed);
    });
    if (pFailed) *pFailed = code ? failed : -1;
    return code ? MORV_FAIL(code, -1) : 0;
}
