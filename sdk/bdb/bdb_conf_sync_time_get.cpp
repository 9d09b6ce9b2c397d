#include <morvsdk/bdb.h>

#include "core/base/fail.h"

extern "C" int MORVBDbConfSyncTimeGet(MORVBDB *db, void **ppBuffer) noexcept {
    // The size of the block is not known: as if it were 0, it is made as long as the record.
    int size = 0;
    if (MORVBDbGet(db, MORV_BDB_SYNC_TIME, MORV_BDB_SYNC_TIME_LENGTH, ppBuffer, &size) != 0) return -1;
    if (size != sizeof(int32_t)) return MORV_FAIL(ERR_STORE_READ_FAILED, -1);
    return 0;
}
