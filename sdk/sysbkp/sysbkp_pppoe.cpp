#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpPPPoEExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_PPPOE, "pppoe settings");
}

extern "C" int MORVSysbkpPPPoEImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_PPPOE, version);
}
