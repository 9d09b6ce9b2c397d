#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpWindowsExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpWindowsImport(int, int, int) noexcept {
    return -1;
}
