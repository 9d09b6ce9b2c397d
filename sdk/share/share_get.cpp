#include "core/account/named_lines.h"
#include "core/account/share_list.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVShareGet(const char *name, MORVSHARE **ppShare) noexcept {
    if (!name || !ppShare) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = read_shares([&](Mirror &mirror) {
        std::string key;
        return upper_name(name, key) ? read_share(mirror, key, ppShare) : int{ERR_NO_SUCH_SHARE};
    });
    return code ? MORV_FAIL(code, -1) : 0;
}
