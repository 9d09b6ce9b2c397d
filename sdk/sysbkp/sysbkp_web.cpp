#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpWebExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_WEB, "runweb");
}

extern "C" int MORVSysbkpWebImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_WEB, version);
}
