#include <morvsdk/volume.h>
#include <stdlib.h>

extern "C" void MORVMountVolInfoFree(VOLUME_MOUNT *list) noexcept {
    while (list) {
        VOLUME_MOUNT *const mount = list;
        list = mount->pNext;
        free(mount);
    }
}
