#include <morvsdk/internal/bdb.h>
#include <string.h>

#include "core/base/log.h"
#include "core/store/store_error.h"

extern "C" int MORVBDbSet(MORVBDB *db, const void *key, int keyLength, const void *value,
                          int valueLength) noexcept {
    if (!db || !key || keyLength < 1 || !value || valueLength < 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    DBT name, data;
    DBTSet(&name, key, keyLength);
    DBTSet(&data, value, valueLength);

    // A reserved record exists once, also in a store with duplicates.
    if (*static_cast<const char *>(key) == '#' && db->pDb->del(db->pDb, &name, 0) == RET_ERROR) {
        MORV_LOG(LOG_ERR, "errno=%d/%s, db->del failed.", errno, strerror(errno));
        return -1;
    }
    if (db->pDb->put(db->pDb, &name, &data, 0) != RET_SUCCESS) {
        const int error = morv::change_error(errno, db->pDb->fd(db->pDb));
        MORV_LOG(LOG_ERR, "errno=%d/%s, db->put failed.", error, strerror(error));
        return MORV_FAIL(morv::write_error(error, ERR_STORE_WRITE_FAILED), -1);
    }
    return 0;
}
