#include <db_185.h>
#include <morvsdk/bdb.h>
#include <stdlib.h>
#include <string.h>

#include "core/base/log.h"
#include "core/store/store_error.h"

extern "C" int MORVBDbClose(MORVBDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (db->pDb->close(db->pDb) != 0) {
        const int error = errno;
        MORV_LOG(LOG_ERR, "errno=%d/%s, db->close failed.", error, strerror(error));
        const int code = error == EROFS ? ERR_READ_ONLY_FS : morv::write_error(error, ERR_SUCCESS);
        if (code != ERR_SUCCESS) MLIBErrSetEx(code, MORV_STEM, __LINE__);
    }
    free(db);
    return 0;
}
