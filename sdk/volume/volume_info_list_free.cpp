#include <morvsdk/volume.h>
#include <stdlib.h>

extern "C" void VolumeInfoListFree(VOLUME_INFO_LIST *list) noexcept {
    while (list) {
        VOLUME_INFO_LIST *const node = list;
        list = node->pNext;
        VolumeInfoFree(node->pInfo);
        free(node);
    }
}
