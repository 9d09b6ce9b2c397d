#include <morvsdk/internal/share.h>

#include "core/account/reserved_change.h"
#include "core/base/fail.h"

extern "C" int MORVShareRSectionSet(const char *section, const MLIBSZHASH *hash) noexcept {
    if (!section || !hash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (ShareSectionTypeGet(section) != MORV_SECTION_RESERVED) return MORV_FAIL(ERR_INVALID_SHARENAME, -1);
    const int code = morv::change_reserved(section, hash);
    return code ? MORV_FAIL(code, -1) : 1;
}
