#include <morvsdk/net.h>
#include <netdb.h>
#include <netinet/in.h>
#include <string.h>
#include <sys/socket.h>

#include <memory>

#include "core/base/fail.h"
#include "core/base/guard.h"
#include "core/text/field_text.h"
#include "core/text/ipv4.h"

using namespace morv;

static int look_up(const char *host, uint32_t &address) noexcept {
    addrinfo hints = {}, *found = nullptr;
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    const int result = getaddrinfo(host, nullptr, &hints, &found);
    if (result == EAI_MEMORY) return ERR_OUT_OF_MEMORY;
    if (result == EAI_AGAIN) return ERR_SERVER_UNREACHABLE;
    if (result != 0) return ERR_INVALID_NETNAME;
    const std::unique_ptr<addrinfo, Releaser<freeaddrinfo>> all(found);
    sockaddr_in first;
    memcpy(&first, found->ai_addr, sizeof first);
    address = first.sin_addr.s_addr;
    return 0;
}

extern "C" int MORVNetBkpLookupIP(const char *host, char *buffer, int size) noexcept {
    if (!host || !buffer || size < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    uint32_t address;
    if (!parse_ipv4(host, address)) {
        if (!*host) return MORV_FAIL(ERR_INVALID_NETNAME, -1);
        if (int code = look_up(host, address)) return MORV_FAIL(code, -1);
    }
    if (!copy_text({buffer, size_t(size)}, Ipv4Text(address).text))
        return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    return 0;
}
