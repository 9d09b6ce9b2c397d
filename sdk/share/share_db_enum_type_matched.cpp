#include "core/account/share_list.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVShareDBEnumTypeMatched(MORVSHAREDB *db, int accessMask, MLIBSZLIST **ppList) noexcept {
    if (!db || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    const int code = no_throw([&] {
        std::string names;
        const auto accept = [&](const PackedShare &share) {
            return accessMask == 0 || (share.access & accessMask);
        };
        const int failed = collect_names(*mirror_of(db), accept, names);
        return failed ? failed : push_names(names, ppList, &count);
    });
    return code ? MORV_FAIL(code, -1) : count;
}
