#include <morvsdk/net.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"

using namespace morv;

extern "C" int MORVNetDefaultGatewayGetConf(char *buffer, int size) noexcept {
    if (!buffer || size < 1) {
        syslog(LOG_DEBUG, "%s (%d) Bad parameter.", MORV_STEM, __LINE__);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const SysPath path("/etc/sysconfig/network");
    const int code = read_key_value(path.c_str(), "GATEWAY", {buffer, size_t(size)});
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "No default gateway can be read, morverr=[0x%04X]",
                         unsigned(code));
}
