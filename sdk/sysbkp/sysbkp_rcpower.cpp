#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpRCPowerExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_RCPOWER, "rc power");
}

extern "C" int MORVSysbkpRCPowerImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_RCPOWER, version);
}
