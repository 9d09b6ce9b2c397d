#include <errno.h>
#include <morvsdk/file.h>
#include <morvsdk/net.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/kept_error.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"
#include "net/mtu_key.h"

using namespace morv;

extern "C" int MORVConfGetMTUValue(const char *name, char *buffer, int size) noexcept {
    if (!name || !is_interface_name(name) || !buffer || size < 1) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", MORV_STEM, __LINE__);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const KeptError before;
    const SysPath path(kMtuFile);
    const int length = MLIBFileGetKeyValue(path.c_str(), MtuKey(name).text, buffer, size, 0);
    if (length > 0) return 0;
    const bool is_missing = length == 0 || (MLIBErrGet() == ERR_OPEN_FAILED && errno == ENOENT);
    if (!is_missing) return -1;
    if (!copy_text({buffer, size_t(size)}, "1500")) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    before.restore();
    return 0;
}
