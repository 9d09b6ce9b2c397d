#include <morvsdk/internal/share.h>

#include <initializer_list>

#include "core/base/fail.h"
#include "core/text/case.h"

extern "C" int ShareSectionTypeGet(const char *name) noexcept {
    if (!name) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    for (const char *reserved : {"global", "home", "printers"}) {
        if (morv::ascii_equal(name, reserved)) return MORV_SECTION_RESERVED;
    }
    return MORV_SECTION_SHARE;
}
