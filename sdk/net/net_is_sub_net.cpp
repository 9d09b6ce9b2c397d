#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int BlMLIBIsSubNet(char *text, const char *netmask) noexcept {
    if (!text || !netmask) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    const std::string_view whole(text);
    uint32_t address, mask;
    const bool parsed = parse_dotted(whole, address) && parse_dotted(netmask, mask);
    if (!parsed || prefix_of(mask) == 0 || (address & ~mask) != 0) return MORV_FAIL(ERR_INVALID_NETNAME, 0);
    rewrite_dotted({text, whole.size()}, address);
    return 1;
}
