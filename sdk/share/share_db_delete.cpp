#include "core/account/share_mirror.h"
#include "core/base/fail.h"

using namespace morv;

extern "C" int MORVShareDBDelete(MORVSHAREDB *db, const char *upperName) noexcept {
    if (!db || !upperName || *upperName == '#') return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const std::string_view key = store_key(upperName);
    if (MORVBDbDelete(db->pShare, key.data(), static_cast<int>(key.size())) == 0) return 0;
    return MORV_FAIL(MLIBErrGet() == ERR_KEY_NOT_FOUND ? int{ERR_NO_SUCH_SHARE} : MLIBErrGet(), -1);
}
