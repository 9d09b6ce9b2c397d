#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpUSBCopySetExport(int) noexcept {
    return -1;
}

extern "C" int MORVSysbkpUSBCopySetImport(int, int, int) noexcept {
    return -1;
}
