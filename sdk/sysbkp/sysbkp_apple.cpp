#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpAppleExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpAppleImport(int, int, int) noexcept {
    return -1;
}
