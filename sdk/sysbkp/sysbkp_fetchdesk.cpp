#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpFetchDeskExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_FETCHDESK, "download settings");
}

extern "C" int MORVSysbkpFetchDeskImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_FETCHDESK, version);
}
