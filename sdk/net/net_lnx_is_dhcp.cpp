#include <errno.h>
#include <morvsdk/net.h>
#include <string.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/file/family_lock.h"
#include "core/file/last_line.h"
#include "core/file/sys_path.h"
#include "core/system/interfaces.h"
#include "net/interface_file.h"

using namespace morv;

// Whether the file is there and whole, so that what it lacks can be added, or is not there at all. One that
// cannot be read just now must not be changed for that.
static bool is_repairable(int code) noexcept {
    return code == ERR_KEY_NOT_FOUND || code == ERR_NOT_ENOUGH_MEMORY ||
           (code == ERR_OPEN_FAILED && errno == ENOENT);
}

static void make_static(const char *path) noexcept {
    int code = end_last_line(path);
    if (code == 0 && MLIBFileSetKeyValue(path, "BOOTPROTO", "static", "%s=%s\n") != 1) code = MLIBErrGet();
    if (code == 0) return;
    syslog(LOG_ERR, "%s(%d) MLIBFileSetKeyValue(%s, BOOTPROTO, static) failed.(%X)", MORV_STEM, __LINE__,
           path, unsigned(code));
    MORV_FAIL(code, 0);
}

extern "C" int BlMORVLnxIsDHCP(const char *name) noexcept {
    if (!name || !is_interface_name(name)) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    const FamilyLock lock(MORV_LOCK_HOST | MORV_LOCK_READ);
    if (!lock.is_held()) {
        syslog(LOG_ERR, "%s(%d) ErrMLIBFileLock failed.", MORV_STEM, __LINE__);
        return 0;
    }
    const SysPath path(InterfaceFile::settings(name).path());
    char protocol[16];
    if (MLIBFileGetKeyValue(path.c_str(), "BOOTPROTO", protocol, sizeof protocol, 0) > 0)
        return strcmp(protocol, "dhcp") == 0;
    const int code = MLIBErrGet();
    const bool repairs = is_repairable(code);
    syslog(LOG_ERR, "%s(%d) Get BOOTPROTO failed.(%X)", MORV_STEM, __LINE__, unsigned(code));
    if (repairs) make_static(path.c_str());
    return 0;
}
