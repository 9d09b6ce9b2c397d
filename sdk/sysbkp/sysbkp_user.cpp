#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpUserExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpUserImport(int, int, int) noexcept {
    return -1;
}
