#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/name_text.h"

using namespace morv;

extern "C" int BlMLIBIsMailbox(const char *text) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    const char *const at = end_of_domain(text);
    if (!at || *at != '@') return 0;
    const char *const end = end_of_domain(at + 1);
    return end && *end == '\0' && end - text <= kDomainMost;
}
