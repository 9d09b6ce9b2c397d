#include <morvsdk/internal/net.h>
#include <net/if.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/kept_error.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/key_value.h"
#include "core/system/interfaces.h"
#include "core/system/routes.h"
#include "core/text/ipv4.h"

using namespace morv;

namespace {

// Whether the gateway is another host in a network.
bool is_in_network(uint32_t gateway, uint32_t address, uint32_t netmask) noexcept {
    const uint32_t hosts = ~netmask, host = gateway & hosts;
    // A network of two has neither a name nor a broadcast address of its own.
    return ((gateway ^ address) & netmask) == 0 && gateway != address &&
           (hosts <= 1 || (host != 0 && host != hosts));
}

// Whether an interface that is up reaches the gateway by itself. Answers an error code.
int find_network(uint32_t gateway, bool &is_found) noexcept {
    InterfaceNames names;
    if (int code = names.load()) return code;
    InterfaceSocket kernel;
    if (!kernel.open()) return ERR_OPEN_FAILED;
    is_found = false;
    while (const char *const name = names.next()) {
        int16_t flags;
        uint32_t address, netmask;
        if (kernel.flags(name, flags) && (flags & IFF_UP) && !(flags & IFF_LOOPBACK) &&
            kernel.address(name, address) && kernel.netmask(name, netmask) &&
            is_in_network(gateway, address, netmask)) {
            is_found = true;
        }
    }
    return 0;
}

}  // namespace

extern "C" int MORVILnxCheckRoute(void) noexcept {
    const FamilyLock lock(MORV_LOCK_NW | MORV_LOCK_WRITE);
    if (!lock.is_held()) {
        MORV_LOG(LOG_ERR, "ErrMLIBFileLock failed.");
        return -1;
    }
    const KeptError before;
    char stored[64];
    if (MORVNetDefaultGatewayGetConf(stored, sizeof stored) != 0) {
        const int code = MLIBErrGet();
        if (!is_not_stored(code)) {
            MORV_LOG(LOG_ERR, "Failed to read the default gateway, morverr=[0x%04X]", unsigned(code));
            return -1;
        }
        before.restore();
        return 0;
    }
    uint32_t gateway, current;
    if (!parse_dotted(stored, gateway)) {
        MORV_LOG(LOG_ERR, "The default gateway %s is no address", stored);
        return 0;
    }
    bool is_near;
    if (int code = find_network(gateway, is_near))
        return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to list the interfaces, morverr=[0x%04X]",
                             unsigned(code));
    if (!is_near) {
        MORV_LOG(LOG_ERR, "The default gateway %s lies in the network of no interface", stored);
        return 0;
    }
    if (find_default_gateway(current) != 0) current = 0;
    if (current == gateway) return 0;
    char text[MORV_IP_TEXT_SIZE];
    write_dotted(text, gateway);
    if (set_default_route(text) == 0) return 1;
    return MORV_LOG_FAIL(LOG_ERR, ERR_OP_FAILURE, -1, "Failed to make %s the default gateway", text);
}
