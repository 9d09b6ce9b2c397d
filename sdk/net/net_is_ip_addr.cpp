#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

// Addresses of no network, of the machine itself, of groups and of no use yet are no interface's, nor are those
// that end as broadcasts do.
static bool can_be_interface(uint32_t address) noexcept {
    const uint32_t first = address >> 24;
    return first >= 1 && first <= 223 && first != 127 && (address & 255) <= 254;
}

extern "C" int BlMLIBIsIpAddr(const char *text) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    uint32_t address;
    if (!parse_dotted(text, address) || !can_be_interface(address)) return MORV_FAIL(ERR_INVALID_NETNAME, 0);
    return 1;
}
