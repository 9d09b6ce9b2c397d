#include <morvsdk/bdb.h>

#include "core/base/bytes.h"
#include "core/base/fail.h"
#include "core/base/guard.h"

extern "C" int MORVBDbDeprecatedGet(MORVBDB *db) noexcept {
    void *stored = nullptr;
    int size = 0;
    const int result = MORVBDbGet(db, MORV_BDB_DEPRECATED, MORV_BDB_DEPRECATED_LENGTH, &stored, &size);
    const morv::MallocPtr<void> guard(stored);
    if (result != 0) return -1;
    if (size != sizeof(int32_t)) return MORV_FAIL(ERR_STORE_READ_FAILED, -1);
    return static_cast<int32_t>(morv::load_native32(stored));
}
