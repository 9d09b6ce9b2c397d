#include <morvsdk/internal/bdb.h>
#include <string.h>

#include "core/base/log.h"
#include "core/store/store_error.h"

extern "C" int MORVBDbGet(MORVBDB *db, const void *key, int keyLength, void **ppValue, int *pSize) noexcept {
    if (!db || !key || keyLength < 1 || !ppValue || !pSize || *pSize < 0)
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    DBT wanted, value;
    DBTSet(&wanted, key, keyLength);
    const int result = db->pDb->get(db->pDb, &wanted, &value, 0);
    if (result == RET_SPECIAL) return MORV_FAIL(ERR_KEY_NOT_FOUND, -1);
    if (result != RET_SUCCESS) {
        const int error = errno;
        MORV_LOG(LOG_ERR, "errno=%d/%s, db->get failed.", error, strerror(error));
        return MORV_FAIL(morv::read_error(error, ERR_STORE_READ_FAILED), -1);
    }
    return DBTCopyOut(&value, ppValue, pSize);
}
