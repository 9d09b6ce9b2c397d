#include "autoblock/client_address.h"
#include "autoblock/settings.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVAutoBlockIsAllowedIP(const char *address) noexcept {
    if (!address) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t number;
    if (!parse_client(address, number)) return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, -1);
    return settings.allows(number) ? 1 : 0;
}
