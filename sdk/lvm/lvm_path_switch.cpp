#include <morvsdk/lvm.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/storage/volume_name.h"
#include "core/text/field_text.h"

using namespace morv;

extern "C" int LVMPathSwitch(const char *device, int option, char *buffer, int size) noexcept {
    MappedPath group;
    if (!device || !buffer || size < 0 || option != LVM_DEVICE_TO_VG || !group_of_device(device, group))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    if (copy_text({buffer, size_t(size)}, group)) return 0;
    return MORV_LOG_FAIL(LOG_DEBUG, ERR_NOT_ENOUGH_MEMORY, -1, "No room for %s in %d bytes", group, size);
}
