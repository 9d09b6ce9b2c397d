#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpHttpPortExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_HTTPPORT, "http port");
}

extern "C" int MORVSysbkpHttpPortImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_HTTPPORT, version);
}
