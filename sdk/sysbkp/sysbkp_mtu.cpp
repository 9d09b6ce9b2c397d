#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpMTUExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpMTUImport(int, int, int) noexcept {
    return -1;
}
