#include <morvsdk/sysbkp.h>

extern "C" int MORVSysbkpExport(const char *path, int mask) noexcept {
    return MORVSysbkpExportReport(path, mask, nullptr, nullptr);
}
