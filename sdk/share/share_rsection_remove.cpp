#include <morvsdk/internal/share.h>

#include "core/account/reserved_change.h"
#include "core/base/fail.h"
#include "core/base/log.h"

extern "C" int MORVShareRSectionRemove(const char *section) noexcept {
    if (!section) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (ShareSectionTypeGet(section) != MORV_SECTION_RESERVED) {
        MORV_LOG(LOG_ERR, "[%s] is not a reserved section", section);
        return MORV_FAIL(ERR_INVALID_SHARENAME, -1);
    }
    const int code = morv::change_reserved(section, nullptr);
    if (code == 0) return 0;
    MORV_LOG(LOG_ERR, "Cannot delete the section [%s] from database[0x%04X]", section, unsigned(code));
    return MORV_FAIL(code, -1);
}
