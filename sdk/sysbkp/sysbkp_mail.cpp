#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpMailExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpMailImport(int, int, int) noexcept {
    return -1;
}
