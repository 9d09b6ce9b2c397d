#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/device_name.h"
#include "core/system/sysfs.h"

using namespace morv;

static int push_arrays(MLIBSZLIST **list) {
    std::vector<std::string> names;
    if (const int code = list_names("/sys/block", "md", names)) {
        MORV_LOG(LOG_DEBUG, "Failed to list /sys/block, errno=%m");
        return code;
    }
    for (const std::string &name : names) {
        int32_t number;
        const std::string path = "/dev/" + name;
        if (!number_behind(name, "md", number) || RAIDIsDetected(path.c_str()) != 1) continue;
        if (MLIBSzListPush(list, path.c_str()) < 0) return ERR_OUT_OF_MEMORY;
    }
    return 0;
}

extern "C" int RAIDPathEnum(MLIBSZLIST **ppList) noexcept {
    if (!ppList || !*ppList) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return push_arrays(ppList); });
    return code ? MORV_FAIL(code, -1) : 0;
}
