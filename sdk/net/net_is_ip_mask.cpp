#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int BlMLIBIsIpMask(char *text) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    const std::string_view whole(text);
    uint32_t mask;
    if (!parse_dotted(whole, mask) || prefix_of(mask) == 0) return MORV_FAIL(ERR_INVALID_NETNAME, 0);
    rewrite_dotted({text, whole.size()}, mask);
    return 1;
}
