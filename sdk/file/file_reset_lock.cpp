#include <morvsdk/file.h>

#include "core/base/fail.h"
#include "core/file/lock_table.h"

using namespace morv;

extern "C" int ErrMLIBFileResetLock(uint32_t bits) noexcept {
    int result = 0;
    for (LockEntry &entry : lock_table()) {
        if (entry.fd < 0) continue;
        if (bits & entry.bit) {
            entry.count = 1;
        } else if (!close_lock(entry)) {
            result = MORV_FAIL(ERR_UNLOCK_FAILED, -1);
        }
    }
    return result;
}
