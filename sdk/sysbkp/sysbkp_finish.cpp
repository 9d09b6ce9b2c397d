#include <morvsdk/internal/sysbkp.h>

// Behind all others: what importers kept for each other goes.
extern "C" int MORVSysbkpFinishExport(int) noexcept {
    return 0;
}

extern "C" int MORVSysbkpFinishImport(int, int, int) noexcept {
    MLIBSzHashFree(gpshUser);
    gpshUser = nullptr;
    return 0;
}
