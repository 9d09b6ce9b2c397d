#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpHDSleepTimeExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_HDSLEEPTIME, "HD sleep time");
}

extern "C" int MORVSysbkpHDSleepTimeImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_HDSLEEPTIME, version);
}
