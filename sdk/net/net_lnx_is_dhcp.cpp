#include <morvsdk/net.h>
#include <syslog.h>

#include <string_view>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/family_lock.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"
#include "core/system/interfaces.h"
#include "net/interface_file.h"

using namespace morv;

// Whether the file is there and whole, so that what it lacks can be added, or is not there at all. One that
// cannot be read just now must not be changed for that.
static bool is_repairable(int code) noexcept {
    return is_not_stored(code) || code == ERR_NOT_ENOUGH_MEMORY;
}

extern "C" int BlMORVLnxIsDHCP(const char *name) noexcept {
    if (!name || !is_interface_name(name))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, 0, "Bad parameters");
    const FamilyLock lock(MORV_LOCK_HOST | MORV_LOCK_READ);
    if (!lock.is_held()) {
        syslog(LOG_ERR, "%s(%d) ErrMLIBFileLock failed.", MORV_STEM, __LINE__);
        return 0;
    }
    const SysPath path(InterfaceFile::settings(name).path());
    char protocol[16];
    int code = read_key_value(path.c_str(), "BOOTPROTO", protocol);
    if (code == 0) return std::string_view(protocol) == "dhcp";
    const bool repairs = is_repairable(code);
    syslog(LOG_ERR, "%s(%d) Get BOOTPROTO failed.(%X)", MORV_STEM, __LINE__, unsigned(code));
    if (!repairs) return MORV_FAIL(code, 0);
    code = set_key_value(path.c_str(), "BOOTPROTO", "static", "%s=%s\n");
    if (code == 0) return 0;
    syslog(LOG_ERR, "%s(%d) MLIBFileSetKeyValue(%s, BOOTPROTO, static) failed.(%X)", MORV_STEM, __LINE__,
           path.c_str(), unsigned(code));
    return MORV_FAIL(code, 0);
}
