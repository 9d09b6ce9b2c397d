#include <morvsdk/bdb.h>

#include "core/base/fail.h"

extern "C" int MORVBDbCursorSetType(MORVBDB *db, int type) noexcept {
    if (!db || type < MORV_BDB_CURSOR || type > MORV_BDB_PREV) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    db->cursorType = type;
    return 0;
}
