#include "core/account/named_lines.h"
#include "core/account/share_list.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVShareEnumByPrefix(MLIBSZLIST **ppList, const char *prefix) noexcept {
    if (!prefix) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    int count = 0;
    const int code = no_throw([&] {
        std::string wanted;
        std::string key;
        if (!upper_name(prefix, wanted)) return int{ERR_BAD_PARAMETERS};
        const auto accept = [&](const PackedShare &share) {
            return upper_name(share.name(), key) && key.starts_with(wanted);
        };
        return list_shares(ppList, accept, &count);
    });
    return code ? MORV_FAIL(code, -1) : count;
}
