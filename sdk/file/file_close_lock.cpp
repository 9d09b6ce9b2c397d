#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/file/lock_table.h"

using namespace morv;

extern "C" int ErrMLIBFileCloseLock(void) noexcept {
    int result = 0;
    for (LockEntry &entry : lock_table()) {
        if (entry.fd >= 0 && !close_lock(entry)) result = MORV_FAIL(ERR_UNLOCK_FAILED, -1);
    }
    return result;
}
