#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

static constexpr int32_t kMask = 3;

extern "C" int MORVSysbkpAppleExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_APPLE, "apple settings", kMask);
}

extern "C" int MORVSysbkpAppleImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_APPLE, version, kMask);
}
