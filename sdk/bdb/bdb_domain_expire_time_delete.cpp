#include <morvsdk/bdb.h>

#include "core/base/fail.h"

extern "C" int MORVBDbDomainExpireTimeDelete(MORVBDB *db) noexcept {
    if (MORVBDbDelete(db, MORV_BDB_EXPIRE_TIME, MORV_BDB_EXPIRE_TIME_LENGTH) == 0) return 0;
    return MLIBErrGet() == ERR_KEY_NOT_FOUND ? 0 : -1;
}
