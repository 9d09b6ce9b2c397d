#include <morvsdk/share.h>

#include "core/text/name_rule.h"

extern "C" int BlMLIBIsShareName(const char *name) noexcept {
    return morv::is_account_name(name, 32);
}
