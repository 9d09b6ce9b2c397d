#include <morvsdk/internal/file.h>

#include "core/base/fail.h"
#include "core/file/lock_table.h"

extern "C" int ErrMLIBILockCheckDir(void) noexcept {
    if (int code = morv::make_lock_files()) return MORV_FAIL(code, -1);
    return 0;
}
