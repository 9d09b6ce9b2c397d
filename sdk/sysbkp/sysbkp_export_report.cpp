#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpExportReport(const char *, int, MORVSYSBKPREPORT, void *) noexcept {
    return -1;
}
