#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpMySQLExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpMySQLImport(int, int, int) noexcept {
    return -1;
}
