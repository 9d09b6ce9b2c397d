#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpInterfaceExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpInterfaceImport(int, int, int) noexcept {
    return -1;
}
