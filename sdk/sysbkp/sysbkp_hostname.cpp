#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpHostnameExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpHostnameImport(int, int, int) noexcept {
    return -1;
}
