#include "core/account/share_mirror.h"
#include "core/base/fail.h"
#include "core/store/records.h"

using namespace morv;

extern "C" int MORVShareDBCheckExists(MORVSHAREDB *db, const char *upperName) noexcept {
    if (!db || !upperName) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    std::string_view packed;
    const int code = find_record(db->pShare, store_key(upperName), &packed);
    if (code == ERR_KEY_NOT_FOUND) return 0;
    return code ? MORV_FAIL(code, -1) : 1;
}
