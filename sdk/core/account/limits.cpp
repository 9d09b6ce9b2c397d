#include "core/account/limits.h"

#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include "core/file/sys_path.h"
#include "core/text/fields.h"

namespace morv {

int read_limit(const char *key, int *limit) noexcept {
    char value[33];
    const int found =
        MLIBFileGetKeyValue(SysPath("/etc.defaults/morvinfo.conf").c_str(), key, value, sizeof value, 0);
    if (found < 0) return MLIBErrGet();
    if (found == 0) return ERR_KEY_NOT_FOUND;
    *limit = static_cast<int>(leading_number(value));
    return 0;
}

}  // namespace morv
