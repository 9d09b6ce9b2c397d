#include "core/store/mirror_mode.h"

#include <morvsdk/file.h>
#include <string.h>

#include "core/file/sys_path.h"

namespace morv {

mode_t mirror_mode() noexcept {
    constexpr mode_t kPublic = 0666;
    constexpr mode_t kPrivate = 0600;
    char value[8];
    if (MLIBFileGetKeyValue(SysPath("/etc.defaults/morvinfo.conf").c_str(), "privatemirror", value,
                            sizeof value, 0) > 0) {
        if (strcmp(value, "yes") == 0) return kPrivate;
        if (strcmp(value, "no") == 0) return kPublic;
    }
    return MORV_PRIVATE_MIRROR ? kPrivate : kPublic;
}

}  // namespace morv
