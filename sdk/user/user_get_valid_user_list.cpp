#include <morvsdk/user.h>

#include "core/account/valid_names.h"
#include "core/base/fail.h"

extern "C" int MORVUserGetValidUserList(const char *names, char **buffer, int *pSize) noexcept {
    if (!names || !buffer || !pSize || *pSize < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count;
    const int code = morv::valid_names_of_system(names, buffer, pSize, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
