#include <morvsdk/lvm.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/lvm_status.h"

using namespace morv;

extern "C" int LVMVgInfoGet(const char *path, LVM_VG_INFO **info) noexcept {
    if (!path || !info) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    LVM_VG_INFO *read = nullptr;
    const int code = no_throw([&] {
        LvmStatus status;
        if (const int failed = status.load()) return failed;
        return status.read(path, &read);
    });
    if (code)
        return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to get volume group %s, errno=0X%X", path,
                             unsigned(code));
    if (!read) return 0;
    *info = read;
    return 1;
}
