#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpRCPowerExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpRCPowerImport(int, int, int) noexcept {
    return -1;
}
