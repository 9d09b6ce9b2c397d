#include <morvsdk/net.h>
#include <signal.h>

#include "core/base/fail.h"
#include "core/system/process.h"

using namespace morv;

extern "C" int MORVDDNSDaemonAction(int action) noexcept {
    if (action != MORV_DDNS_RELOAD) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    Process daemon;
    if (!daemon.open(read_pid_file("/var/run/ddnsd.pid"))) return 0;
    // The number may belong to another program by now, which this signal would end.
    char room[32];
    if (daemon.name(room) != "ddnsd") return 0;
    if (!daemon.signal(SIGHUP)) return MORV_FAIL(ERR_OP_FAILURE, -1);
    return 1;
}
