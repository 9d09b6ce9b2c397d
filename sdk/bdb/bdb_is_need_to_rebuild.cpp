#include <morvsdk/bdb.h>

#include "core/base/bytes.h"
#include "core/base/guard.h"

extern "C" int MORVBDbIsNeedToRebuild(MORVBDB *db, int32_t fileTime) noexcept {
    void *stored = nullptr;
    const int result = MORVBDbConfSyncTimeGet(db, &stored);
    const morv::MallocPtr<void> guard(stored);
    if (result != 0) return -1;
    return static_cast<int32_t>(morv::load_native32(stored)) != fileTime;
}
