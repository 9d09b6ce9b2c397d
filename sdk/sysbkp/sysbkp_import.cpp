#include <morvsdk/sysbkp.h>

extern "C" int MORVSysbkpImport(const char *path, int mask, int option) noexcept {
    return MORVSysbkpImportReport(path, mask, option, nullptr, nullptr);
}
