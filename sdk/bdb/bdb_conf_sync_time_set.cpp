#include <morvsdk/bdb.h>

extern "C" int MORVBDbConfSyncTimeSet(MORVBDB *db, int32_t syncTime) noexcept {
    return MORVBDbSet(db, MORV_BDB_SYNC_TIME, MORV_BDB_SYNC_TIME_LENGTH, &syncTime, sizeof syncTime);
}
