#include "core/account/share_mirror.h"
#include "core/base/fail.h"

extern "C" int MORVShareDBCursorGet(MORVSHAREDB *db, void **ppKey, int *pKeySize, void **ppBuffer,
                                    int *pSize) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    return MORVBDbCursorGet(db->pShare, 1, ppKey, pKeySize, ppBuffer, pSize);
}
