#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpDCacheExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_DCACHE, "write cache");
}

extern "C" int MORVSysbkpDCacheImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_DCACHE, version);
}
