#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/setting_block.h"

using namespace morv;

extern "C" int MORVSysbkpUSBCopySetExport(int fd) noexcept {
    return EXPORT_SETTINGS(fd, MORV_SYSBKP_USBCOPYSET, "usb copy folder");
}

extern "C" int MORVSysbkpUSBCopySetImport(int fd, int version, int) noexcept {
    return import_settings(fd, MORV_SYSBKP_USBCOPYSET, version);
}
