#include <morvsdk/bdb.h>
#include <time.h>

#include "core/base/bytes.h"
#include "core/base/fail.h"
#include "core/base/guard.h"

namespace {

constexpr int32_t kRefreshAfter = 301;  // seconds

}  // namespace

extern "C" int MORVBDbIsNeedToDomainRebuild(MORVBDB *db) noexcept {
    if (!db) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    const uint32_t now = static_cast<uint32_t>(time(nullptr));
    void *stored = nullptr;
    const int result = MORVBDbDomainExpireTimeGet(db, &stored);
    const morv::MallocPtr<void> guard(stored);
    if (result != 0) return MLIBErrGet() == ERR_KEY_NOT_FOUND;
    // The record holds the low 32 bits of the time; their difference is right beyond 2038 as well.
    return static_cast<int32_t>(now - morv::load_native32(stored)) >= kRefreshAfter;
}
