#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpTimeExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpTimeImport(int, int, int) noexcept {
    return -1;
}
