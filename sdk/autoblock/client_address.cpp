#include "autoblock/client_address.h"

#include "core/base/fail.h"

namespace morv {

bool address_of_client(const char *client, uint32_t &address) noexcept {
    if (parse_ipv4(client, address)) return address != 0 || MORV_FAIL(ERR_INVALID_NETNAME, false);
    char dotted[MORV_IP_TEXT_SIZE];
    if (MORVNetBkpLookupIP(client, dotted, sizeof dotted) != 0) return false;
    return parse_client(dotted, address) || MORV_FAIL(ERR_INVALID_NETNAME, false);
}

}  // namespace morv
