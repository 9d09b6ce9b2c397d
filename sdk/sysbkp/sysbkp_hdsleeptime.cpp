#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpHDSleepTimeExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpHDSleepTimeImport(int, int, int) noexcept {
    return -1;
}
