#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpMailExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_MAIL, "mail");
}

extern "C" int MORVSysbkpMailImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_MAIL, version);
}
