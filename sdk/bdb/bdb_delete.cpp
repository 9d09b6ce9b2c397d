#include <morvsdk/internal/bdb.h>
#include <string.h>

#include "core/base/log.h"
#include "core/store/store_error.h"

extern "C" int MORVBDbDelete(MORVBDB *db, const void *key, int keyLength) noexcept {
    if (!db || !key || keyLength < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    DBT name;
    DBTSet(&name, key, keyLength);
    const int result = db->pDb->del(db->pDb, &name, 0);
    if (result == RET_SPECIAL) return MORV_FAIL(ERR_KEY_NOT_FOUND, -1);
    if (result != RET_SUCCESS) {
        const int error = morv::change_error(errno, db->pDb->fd(db->pDb));
        MORV_LOG(LOG_ERR, "errno=%d/%s, db->del failed.", error, strerror(error));
        return MORV_FAIL(morv::write_error(error, ERR_STORE_DELETE_FAILED), -1);
    }
    return 0;
}
