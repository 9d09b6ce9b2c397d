#include <morvsdk/net.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "net/host_name.h"

using namespace morv;

extern "C" int MORVLnxSetHostname(const char *name) noexcept {
    if (!name) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const FamilyLock lock(MORV_LOCK_HOST | MORV_LOCK_NW | MORV_LOCK_WRITE);
    int code = lock.is_held() ? 0 : MLIBErrGet();
    if (code == 0) code = set_host_name(name, nullptr);
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to set the host name %s, morverr=[0x%04X]", name,
                         unsigned(code));
}
