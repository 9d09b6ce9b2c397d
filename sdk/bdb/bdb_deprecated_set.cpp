#include <morvsdk/bdb.h>

extern "C" int MORVBDbDeprecatedSet(MORVBDB *db, int32_t flag) noexcept {
    return MORVBDbSet(db, MORV_BDB_DEPRECATED, MORV_BDB_DEPRECATED_LENGTH, &flag, sizeof flag);
}
