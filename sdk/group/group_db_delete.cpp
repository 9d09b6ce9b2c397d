#include "core/account/group_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/store/records.h"

using namespace morv;

extern "C" int MORVGroupDBDelete(MORVGROUPDB *db, const char *upperName) noexcept {
    if (!db || !upperName) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        const int failed = erase_group(*mirror_of(db), upperName);
        if (failed && failed != ERR_ID_NOT_FOUND) return failed;
        const int kept = erase_record(db->pDesc, store_key(upperName));
        return failed ? failed : kept;
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
