#include <morvsdk/lvm.h>

#include "core/base/fail.h"
#include "core/base/log.h"

extern "C" int LVMVgInfoEnumPv(const LVM_VG_INFO *info, int status, MLIBSZLIST **list) noexcept {
    if (!info || !list || !*list || (status != LVM_PV_NORMAL && status != LVM_PV_MISSING))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    int count = 0;
    for (const LVM_PV *volume = info->pPvs; volume; volume = volume->pNext) {
        if (volume->status != status) continue;
        if (MLIBSzListPush(list, volume->szPath) < 0)
            return MORV_LOG_FAIL(LOG_DEBUG, ERR_OUT_OF_MEMORY, -1, "Failed to add %s", volume->szPath);
        ++count;
    }
    return count;
}
