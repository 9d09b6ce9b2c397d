#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpGroupExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpGroupImport(int, int, int) noexcept {
    return -1;
}
