#include <morvsdk/autoblock.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/system/command.h"

using namespace morv;

extern "C" int MORVAutoBlockServicesHup(void) noexcept {
    const int code = run_tool("/bin/kill -HUP `/bin/pidof ftpd` > /dev/null 2>&1", {});
    return code == 0 ? 0 : MORV_LOG_FAIL(LOG_ERR, code, -1, "no FTP server to signal");
}
