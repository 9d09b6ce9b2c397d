#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int BlMLIBIsIpMask(char *text) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    uint32_t mask;
    if (!parse_dotted(text, mask) || prefix_of(mask) == 0) return MORV_FAIL(ERR_INVALID_NETNAME, 0);
    write_dotted(text, mask);
    return 1;
}
