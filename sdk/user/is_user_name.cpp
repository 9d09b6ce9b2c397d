#include <morvsdk/user.h>

#include "core/text/name_rule.h"

extern "C" int BlMLIBIsUserName(const char *name) noexcept {
    return morv::is_account_name(name, 64);
}
