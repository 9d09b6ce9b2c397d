#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpShareExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpShareImport(int, int, int) noexcept {
    return -1;
}
