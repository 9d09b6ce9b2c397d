#include <stdio.h>

#include "core/account/share_rights.h"
#include "core/base/fail.h"

extern "C" int ParseRights(const MORVSHARE *share, const char *userName, char *buffer, int size) noexcept {
    if (!share || !userName || !buffer || size < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int access;
    if (const int code = morv::find_access(*share, userName, &access)) return MORV_FAIL(code, -1);
    const char *const right = access == MORV_SHARE_NO_ACCESS    ? "NA"
                              : access == MORV_SHARE_READ_WRITE ? "RW"
                                                                : "RO";
    const int length = snprintf(nullptr, 0, "%s - %s", userName, right);
    if (length < 0 || length >= size) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    snprintf(buffer, size_t(size), "%s - %s", userName, right);
    return access;
}
