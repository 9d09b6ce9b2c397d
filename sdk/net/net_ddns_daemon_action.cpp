#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/system/process.h"

extern "C" int MORVDDNSDaemonAction(int action) noexcept {
    if (action != MORV_DDNS_RELOAD) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int result = morv::reload_daemon("/var/run/ddnsd.pid", "ddnsd");
    return result < 0 ? MORV_FAIL(ERR_OP_FAILURE, -1) : result;
}
