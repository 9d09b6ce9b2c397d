#include <morvsdk/autoblock.h>
#include <stdlib.h>

extern "C" void MORVAutoBlockFree(MORV_AUTOBLOCK_IP *list) noexcept {
    free(list);
}
