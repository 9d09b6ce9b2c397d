#include <morvsdk/lvm.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/lvm_status.h"

using namespace morv;

static int write_groups(const LVM_VG_INFO *groups) {
    std::string text;
    for (const LVM_VG_INFO *group = groups; group; group = group->pNext) {
        if (const int code = append_group(*group, text)) return code;
    }
    return write_lvm_status(text);
}

extern "C" int LVMStatusSet(const LVM_VG_INFO *groups) noexcept {
    const int code = no_throw([&] { return write_groups(groups); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to write /tmp/lvm.status, errno=0X%X", unsigned(code));
}
