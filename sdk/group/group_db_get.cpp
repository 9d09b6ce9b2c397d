#include "core/account/group_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" int MORVGroupDBGet(MORVGROUPDB *db, const char *upperName, MORVGROUP **ppGroup) noexcept {
    if (!db || !upperName || !ppGroup) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        std::string line;
        const int failed = read_group_line(*mirror_of(db), upperName, &line);
        return failed ? failed : make_group(line, ppGroup);
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
