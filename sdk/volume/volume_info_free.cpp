#include <morvsdk/volume.h>
#include <stdlib.h>

extern "C" void VolumeInfoFree(VOLUME_INFO *info) noexcept {
    if (!info) return;
    FSInfoFree(info->pFs);
    LVMVgInfoFree(info->pVg);
    RAIDListFree(info->pRaids);
    free(info);
}
