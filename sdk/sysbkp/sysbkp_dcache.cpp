#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpDCacheExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpDCacheImport(int, int, int) noexcept {
    return -1;
}
