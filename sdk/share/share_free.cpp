#include <morvsdk/share.h>
#include <stdlib.h>

extern "C" void MORVShareFree(MORVSHARE *share) noexcept {
    free(share);
}
