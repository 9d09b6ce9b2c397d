#include "core/account/share_mirror.h"
#include "core/base/fail.h"
#include "core/base/no_throw.h"

using namespace morv;

extern "C" MORVSHARE *ShareAllocFromConf(const char *name, const MLIBSZHASH *keys) noexcept {
    if (!name || !keys) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    MORVSHARE *share = nullptr;
    const int code = no_throw([&] {
        AccountMirrors mirrors;
        const int failed = mirrors.open();
        return failed ? failed : share_from_keys(name, keys, mirrors.accounts(), &share);
    });
    return code ? MORV_FAIL(code, nullptr) : share;
}
