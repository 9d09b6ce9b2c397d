#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/name_text.h"

using namespace morv;

extern "C" int BlMLIBIsDomain(const char *text) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    const char *const end = end_of_domain(text);
    return end && *end == '\0' && end - text <= kDomainMost;
}
