#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpPhotoExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_PHOTO, "photo settings");
}

extern "C" int MORVSysbkpPhotoImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_PHOTO, version);
}
