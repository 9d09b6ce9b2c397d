#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpMySQLExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_MYSQL, "runmysql");
}

extern "C" int MORVSysbkpMySQLImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_MYSQL, version);
}
