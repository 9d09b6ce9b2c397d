#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpHttpPortExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpHttpPortImport(int, int, int) noexcept {
    return -1;
}
