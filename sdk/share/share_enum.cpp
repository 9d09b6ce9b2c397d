#include "core/account/share_list.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVShareEnum(MLIBSZLIST **ppList, int selector) noexcept {
    int count = 0;
    const auto accept = [&](const PackedShare &share) { return selector == 0 || (share.access & selector); };
    const int code = list_shares(ppList, accept, &count);
    return code ? MORV_FAIL(code, -1) : count;
}
