#include <morvsdk/internal/bdb.h>
#include <string.h>

#include "core/base/log.h"
#include "core/store/store_error.h"

namespace {

u_int seq_flag(int32_t type) {
    switch (type) {
        case MORV_BDB_CURSOR:
            return R_CURSOR;
        case MORV_BDB_FIRST:
            return R_FIRST;
        case MORV_BDB_LAST:
            return R_LAST;
        case MORV_BDB_PREV:
            return R_PREV;
        default:
            return R_NEXT;
    }
}

bool is_reserved(const DBT &key) {
    return key.size > 0 && *static_cast<const char *>(key.data) == '#';
}

}  // namespace

extern "C" int MORVBDbCursorGet(MORVBDB *db, int skipReserved, void **ppKey, int *pKeySize, void **ppValue,
                                int *pValueSize) noexcept {
    if (!db || !ppKey || !pKeySize || *pKeySize < 0 || !ppValue || !pValueSize || *pValueSize < 0) {
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    u_int flag = seq_flag(db->cursorType);
    DBT key = {nullptr, 0};
    DBT value = {nullptr, 0};
    if (flag == R_CURSOR) {
        if (!*ppKey || *pKeySize < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
        DBTSet(&key, *ppKey, *pKeySize);
    }
    for (;;) {
        const int result = db->pDb->seq(db->pDb, &key, &value, flag);
        if (result == RET_SPECIAL) return MORV_FAIL(ERR_STORE_END, -1);
        if (result != RET_SUCCESS) {
            const int error = errno;
            MORV_LOG(LOG_ERR, "errno=%d/%s, db->seq failed.", error, strerror(error));
            return MORV_FAIL(morv::read_error(error, ERR_STORE_READ_FAILED), -1);
        }
        if (skipReserved != 1 || !is_reserved(key)) break;
        if (db->cursorType == MORV_BDB_FIRST) db->cursorType = MORV_BDB_NEXT;
        if (db->cursorType == MORV_BDB_LAST) db->cursorType = MORV_BDB_PREV;
        // From a reserved key that was searched for, the walk goes on as well: searching again would find it
        // again.
        flag = db->cursorType == MORV_BDB_CURSOR ? static_cast<u_int>(R_NEXT) : seq_flag(db->cursorType);
    }
    if (DBTCopyOut(&key, ppKey, pKeySize) != 0) return -1;
    return DBTCopyOut(&value, ppValue, pValueSize);
}
