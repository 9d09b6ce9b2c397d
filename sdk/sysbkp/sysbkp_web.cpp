#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpWebExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpWebImport(int, int, int) noexcept {
    return -1;
}
