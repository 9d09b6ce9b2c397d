#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpRunFtpdExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpRunFtpdImport(int, int, int) noexcept {
    return -1;
}
