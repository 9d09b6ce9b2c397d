#include <morvsdk/fs.h>
#include <stdlib.h>

extern "C" void FSInfoFree(FS_INFO *info) noexcept {
    free(info);
}
