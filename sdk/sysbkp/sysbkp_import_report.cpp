#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpImportReport(const char *, int, int, MORVSYSBKPREPORT, void *) noexcept {
    return -1;
}
