#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpRunFtpdExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_RUNFTPD, "ftp settings");
}

extern "C" int MORVSysbkpRunFtpdImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_RUNFTPD, version);
}
