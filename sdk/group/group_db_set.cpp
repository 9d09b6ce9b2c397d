#include "core/account/group_change.h"
#include "core/account/group_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" int MORVGroupDBSet(MORVGROUPDB *db, const char *oldUpperName, int oldLength,
                              const MORVGROUP *group) noexcept {
    if (!db || !group || !group->szName || (oldUpperName && oldLength < 1))
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        std::string old;
        if (oldUpperName) old.assign(oldUpperName, static_cast<size_t>(oldLength));
        return put_group(*mirror_of(db), old, *group);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
