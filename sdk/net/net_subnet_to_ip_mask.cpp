#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int ErrMLIBSubnetToIpMask(char *text, char *buffer) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t address;
    std::string_view prefix_text;
    int32_t prefix;
    const bool parsed = split_subnet(text, address, prefix_text) && parse_number(prefix_text, prefix);
    if (!parsed || prefix < 1 || prefix > 32) return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    const uint32_t mask = mask_of(prefix);
    char *const end = write_dotted(buffer ? buffer : text, address & mask);
    *end = '/';
    write_dotted(end + 1, mask);
    return 0;
}
