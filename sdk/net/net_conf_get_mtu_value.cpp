#include <morvsdk/net.h>
#include <syslog.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"
#include "net/mtu_key.h"

using namespace morv;

extern "C" int MORVConfGetMTUValue(const char *name, char *buffer, int size) noexcept {
    if (!name || !is_interface_name(name) || !buffer || size < 1) {
        syslog(LOG_DEBUG, "%s (%d) Bad parameter.", MORV_STEM, __LINE__);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const SysPath path(kMtuFile);
    int code = read_key_value(path.c_str(), MtuKey(name).text, {buffer, size_t(size)});
    if (is_not_stored(code)) code = copy_text({buffer, size_t(size)}, "1500") ? 0 : ERR_NOT_ENOUGH_MEMORY;
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to read the MTU of %s, morverr=[0x%04X]", name,
                         unsigned(code));
}
