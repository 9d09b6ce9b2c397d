#include <morvsdk/file.h>
#include <sys/file.h>

#include "core/base/fail.h"
#include "core/file/lock_table.h"

using namespace morv;

extern "C" int ErrMLIBFileUnlock(uint32_t bits) noexcept {
    int result = 0;
    for (LockEntry &entry : lock_table()) {
        if (entry.fd < 0 || !(bits & entry.bit)) continue;
        if (entry.count >= 2) {
            --entry.count;
            continue;
        }
        if (flock(entry.fd, LOCK_UN) != 0) result = MORV_FAIL(ERR_UNLOCK_FAILED, -1);
        close_lock(entry);
    }
    return result;
}
