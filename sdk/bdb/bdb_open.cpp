#include <morvsdk/bdb.h>

#include "core/base/fail.h"
#include "core/store/store_handle.h"

extern "C" MORVBDB *MORVBDbOpen(const char *path, int flags, int duplicates) noexcept {
    if (!path || !*path) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    MORVBDB *db;
    if (const int code = morv::open_store(path, flags, duplicates == 1, morv::kSharedStore, &db))
        return MORV_FAIL(code, nullptr);
    return db;
}
