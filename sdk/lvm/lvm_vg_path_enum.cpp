#include <morvsdk/lvm.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/lvm_status.h"

using namespace morv;

static int push_groups(MLIBSZLIST **list) {
    LvmStatus status;
    if (const int code = status.load()) return code;
    for (const std::string_view group : status.groups()) {
        if (MLIBSzListPush(list, std::string(group).c_str()) < 0) return ERR_OUT_OF_MEMORY;
    }
    return 0;
}

extern "C" int LVMVgPathEnum(MLIBSZLIST **list) noexcept {
    if (!list || !*list) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return push_groups(list); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to list volume groups, errno=0X%X", unsigned(code));
}
