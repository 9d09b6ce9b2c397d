#include "autoblock/settings.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVAutoBlockIsEnabled(void) noexcept {
    BlockSettings settings;
    if (int code = settings.load()) return MORV_FAIL(code, 0);
    return settings.is_enabled() ? 1 : 0;
}
