#include <morvsdk/net.h>
#include <string.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/file/family_lock.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"
#include "net/mtu_key.h"

using namespace morv;

static bool is_size(const char *text) noexcept {
    const size_t digits = strspn(text, "0123456789");
    return digits >= 1 && digits <= 5 && text[digits] == '\0';
}

static int fail(int code) noexcept {
    syslog(LOG_ERR, "%s (%d) Failed to set MTU value(%X)", MORV_STEM, __LINE__, unsigned(code));
    return MORV_FAIL(code, -1);
}

extern "C" int MORVConfSetMTUValue(const char *mtu, const char *name) noexcept {
    if (!mtu || !is_size(mtu) || !name || !is_interface_name(name)) return fail(ERR_BAD_PARAMETERS);
    FamilyLock lock(MORV_LOCK_MORVINFO | MORV_LOCK_WRITE);
    if (!lock.is_held()) {
        syslog(LOG_ERR, "%s (%d) Failed to lock morvinfo(%X)", MORV_STEM, __LINE__, unsigned(MLIBErrGet()));
        return -1;
    }
    const SysPath path(kMtuFile);
    if (int code = set_key_value(path.c_str(), MtuKey(name).text, mtu, "%s=\"%s\"\n")) return fail(code);
    if (lock.release()) return 0;
    syslog(LOG_ERR, "%s (%d) Failed to unlock morvinfo(%X)", MORV_STEM, __LINE__, unsigned(MLIBErrGet()));
    return -1;
}
