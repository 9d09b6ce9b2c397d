#include <morvsdk/autoblock.h>

#include "autoblock/deny_list.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVAutoBlockIPsDel(const uint32_t *addresses) noexcept {
    if (!addresses) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    AddressSet leaving;
    if (!leaving.fill(addresses)) return MORV_FAIL(ERR_OUT_OF_MEMORY, -1);
    DenyChange change{.leaving = leaving, .lifetime = 0, .added = {}, .now = 0};
    if (int code = change_deny_list(change)) return MORV_FAIL(code, -1);
    report_damage(change);
    return 0;
}
