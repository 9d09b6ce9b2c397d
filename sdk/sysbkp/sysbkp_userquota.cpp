#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpUserQuotaExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpUserQuotaImport(int, int, int) noexcept {
    return -1;
}
