#include <morvsdk/bdb.h>
#include <time.h>

extern "C" int MORVBDbDomainExpireTimeSet(MORVBDB *db) noexcept {
    const int32_t now = static_cast<int32_t>(time(nullptr));
    return MORVBDbSet(db, MORV_BDB_EXPIRE_TIME, MORV_BDB_EXPIRE_TIME_LENGTH, &now, sizeof now);
}
