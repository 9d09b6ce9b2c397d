#include <morvsdk/file.h>
#include <morvsdk/net.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/file/sys_path.h"

using namespace morv;

extern "C" int MORVNetDefaultGatewayGetConf(char *buffer, int size) noexcept {
    if (!buffer || size < 1) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", MORV_STEM, __LINE__);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const SysPath path("/etc/sysconfig/network");
    return MLIBFileGetKeyValue(path.c_str(), "GATEWAY", buffer, size, 0) > 0 ? 0 : -1;
}
