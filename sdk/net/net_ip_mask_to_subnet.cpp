#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int ErrMLIBIpMaskToSubnet(char *text, char *buffer) noexcept {
    if (!text) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t address, mask;
    std::string_view mask_text;
    if (!split_subnet(text, address, mask_text) || !parse_dotted(mask_text, mask) || prefix_of(mask) == 0)
        return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    char *const end = write_dotted(buffer ? buffer : text, address & mask);
    *end = '/';
    write_octet(end + 1, uint32_t(prefix_of(mask)));
    return 0;
}
