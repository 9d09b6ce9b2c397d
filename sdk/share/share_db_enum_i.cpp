#include "core/account/share_list.h"
#include "core/base/fail.h"

using namespace morv;

// Unpacks each share for a test that wants the record.
static int collect(Mirror &mirror, int (*matches)(const MORVSHARE *, const void *), const void *argument,
                   std::string &names) {
    MORVSHARE *share = nullptr;
    SharePtr guard;
    Walk walk(mirror.store[kShares]);
    while (walk.next()) {
        share = guard.release();
        const int failed = MORVShareDBUnpack(walk.value.data(), static_cast<int>(walk.value.size()), &share);
        guard.reset(share);
        if (failed) return MLIBErrGet() == ERR_OUT_OF_MEMORY ? ERR_OUT_OF_MEMORY : ERR_STORE_INVALID;
        if (matches(share, argument)) names.append(share->szName).push_back('\0');
    }
    return walk.code ? int{ERR_STORE_WALK_FAILED} : 0;
}

extern "C" int MORVShareDBEnumI(MORVSHAREDB *db, int (*matches)(const MORVSHARE *share, const void *argument),
                                const void *argument, MLIBSZLIST **ppList) noexcept {
    if (!db || !matches || !ppList || !*ppList) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    const int code = no_throw([&] {
        std::string names;
        const int failed = collect(*mirror_of(db), matches, argument, names);
        return failed ? failed : push_names(names, ppList, &count);
    });
    return code ? MORV_FAIL(code, -1) : count;
}
