#include <morvsdk/autoblock.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/file/sys_path.h"
#include "core/store/address_list.h"

using namespace morv;

extern "C" int MORVAutoBlockFileOpen(const char *path, int flags, int lock) noexcept {
    if (!path) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    UniqueFd file;
    const int code = open_locked(SysPath(path).c_str(), flags, lock, file);
    if (code == ERR_LOCK_FAILED)
        MORV_LOG(LOG_ERR, "Open and lock [%s] failed exceeds try count for %d(%m)", path, kOpenTries);
    if (code != 0) return MORV_FAIL(code, -1);
    return file.release();
}
