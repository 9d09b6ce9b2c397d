#include "core/account/share_list.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVShareEnumByMntPath(MLIBSZLIST **ppList, const char *mountPath) noexcept {
    if (!mountPath || *mountPath != '/') return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    const auto accept = [&](const PackedShare &share) { return lies_below(share.path(), mountPath); };
    const int code = list_shares(ppList, accept, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
