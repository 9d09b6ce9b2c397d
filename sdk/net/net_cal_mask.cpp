#include <morvsdk/internal/net.h>

#include "core/base/fail.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int cMLIBICalMask(int32_t a, int32_t b, int32_t c, int32_t d) noexcept {
    uint32_t mask = 0;
    for (const int32_t octet : {a, b, c, d}) {
        if (octet < 0 || octet > 255) return MORV_FAIL(ERR_INVALID_NETNAME, 0);
        mask = mask << 8 | uint32_t(octet);
    }
    const int prefix = prefix_of(mask);
    return prefix > 0 ? prefix : MORV_FAIL(ERR_INVALID_NETNAME, 0);
}
