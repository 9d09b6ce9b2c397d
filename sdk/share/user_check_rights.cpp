#include "core/account/share_rights.h"
#include "core/base/fail.h"

extern "C" int UserCheckRights(const char *noAccess, const char *readWrite, const char *readOnly) noexcept {
    int result;
    const int code = morv::compare_rights(noAccess, readWrite, readOnly, &result);
    return code ? MORV_FAIL(code, -1) : result;
}
