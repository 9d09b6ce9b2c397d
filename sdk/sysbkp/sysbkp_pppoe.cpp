#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpPPPoEExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpPPPoEImport(int, int, int) noexcept {
    return -1;
}
