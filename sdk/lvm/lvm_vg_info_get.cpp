#include <morvsdk/lvm.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/lvm_status.h"

using namespace morv;

extern "C" int LVMVgInfoGet(const char *path, LVM_VG_INFO **info) noexcept {
    if (!path || !info) {
        MORV_LOG(LOG_DEBUG, "Bad parameters");
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    LVM_VG_INFO *read = nullptr;
    const int code = no_throw([&] {
        LvmStatus status;
        if (const int failed = status.load()) return failed;
        return status.read(path, &read);
    });
    if (code) {
        MORV_LOG(LOG_DEBUG, "Failed to get volume group %s, errno=0X%X", path, unsigned(code));
        return MORV_FAIL(code, -1);
    }
    if (!read) return 0;
    *info = read;
    return 1;
}
