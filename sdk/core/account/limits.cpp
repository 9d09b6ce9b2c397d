#include "core/account/limits.h"

#include <limits.h>
#include <morvsdk/error.h>
#include <morvsdk/file.h>

#include "core/file/sys_path.h"
#include "core/text/fields.h"

namespace morv {

int read_limit(const char *key, Limit *limit) noexcept {
    char value[33];
    const int found =
        MLIBFileGetKeyValue(SysPath("/etc.defaults/morvinfo.conf").c_str(), key, value, sizeof value, 0);
    if (found < 0) return MLIBErrGet();
    if (found == 0) return ERR_KEY_NOT_FOUND;
    *limit = {static_cast<int>(leading_number(value)), *value == '\0'};
    return 0;
}

int room_below_limit(const char *key, int there) noexcept {
    Limit limit = {};
    if (read_limit(key, &limit) != 0) return INT_MAX;
    return limit.is_empty || limit.most <= there ? 0 : limit.most - there;
}

bool exceeds_limit(const char *key, int there, int adds) noexcept {
    return adds > room_below_limit(key, there);
}

}  // namespace morv
