#include <errno.h>
#include <morvsdk/net.h>
#include <unistd.h>

#include "core/base/fail.h"
#include "core/file/key_value.h"
#include "core/file/sys_path.h"
#include "core/text/field_text.h"

using namespace morv;

extern "C" int MORVLnxGetHostname(char *buffer, int size) noexcept {
    if (!buffer || size < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (has_system_root()) {
        const SysPath path("/etc/sysconfig/network");
        const int code = read_key_value(path.c_str(), "HOSTNAME", {buffer, size_t(size)});
        return code == 0 ? 0 : MORV_FAIL(code, -1);
    }
    char name[256];
    if (gethostname(name, sizeof name) != 0) return MORV_FAIL(ERR_OP_FAILURE, -1);
    if (!copy_text({buffer, size_t(size)}, name)) return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    return 0;
}
