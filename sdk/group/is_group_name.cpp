#include <morvsdk/group.h>

#include "core/text/name_rule.h"

extern "C" int BlMLIBIsGroupName(const char *name) noexcept {
    return morv::is_account_name(name, 15);
}
