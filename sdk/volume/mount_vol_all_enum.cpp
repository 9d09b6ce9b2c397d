#include "core/base/fail.h"
#include "volume/mount_record.h"

using namespace morv;

extern "C" int MORVMountVolAllEnum(VOLUME_MOUNT **list) noexcept {
    constexpr int kLocations = VOLUME_INTERNAL | VOLUME_EXPANSION | VOLUME_USB | VOLUME_SATA;
    return enumerate_mounts(kLocations, list, MORV_STEM, __LINE__);
}
