#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpPhotoExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpPhotoImport(int, int, int) noexcept {
    return -1;
}
