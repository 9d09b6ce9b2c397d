#include "core/account/reserved_section.h"
#include "core/base/fail.h"

extern "C" int MORVShareRSectionGet(const char *section, MLIBSZHASH **ppHash) noexcept {
    if (!section || !ppHash || !*ppHash) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = morv::for_each_pair(section, [&](const char *key, const char *value) {
        return MLIBSzHashSetValue(ppHash, key, value) < 0 ? ERR_OUT_OF_MEMORY : 0;
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
