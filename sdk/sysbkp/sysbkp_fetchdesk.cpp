#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpFetchDeskExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpFetchDeskImport(int, int, int) noexcept {
    return -1;
}
