#include <morvsdk/internal/net.h>

#include "core/base/fail.h"
#include "core/text/field_text.h"
#include "core/text/ipv4.h"

using namespace morv;

extern "C" int MORVILnxGetBCast(const char *address, const char *netmask, char *buffer, int size) noexcept {
    if (!address || !netmask || !buffer || size < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t ip, mask;
    if (!parse_dotted(address, ip) || !parse_dotted(netmask, mask)) return MORV_FAIL(ERR_INVALID_NETNAME, -1);
    char text[MORV_IP_TEXT_SIZE];
    write_dotted(text, (ip & mask) | ~mask);
    if (!copy_text({buffer, size_t(size)}, text)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    return 0;
}
