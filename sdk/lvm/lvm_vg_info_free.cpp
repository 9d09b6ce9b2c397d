#include <morvsdk/lvm.h>
#include <stdlib.h>

extern "C" void LVMVgInfoFree(LVM_VG_INFO *info) noexcept {
    while (info) {
        LVM_VG_INFO *const group = info;
        info = group->pNext;
        while (LVM_PV *const volume = group->pPvs) {
            group->pPvs = volume->pNext;
            free(volume);
        }
        free(group);
    }
}
