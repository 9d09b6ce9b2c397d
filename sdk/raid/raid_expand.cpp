#include <fcntl.h>

#include "core/base/guard.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"
#include "core/storage/md_array.h"

using namespace morv;

// mdadm makes an array smaller without asking, and what lay behind its new end is lost.
static bool would_shrink(const char *path, uint64_t kib) {
    int32_t number;
    mdu_array_info_t array;
    const UniqueFd fd(open(SysPath(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!fd || md_description(fd.get(), array) != 0) return false;
    if (!md_number(fd.get(), number)) number = -1;
    return kib < md_component_size(array, number) / 1024;
}

extern "C" int RAIDExpand(const char *path, uint64_t kib) noexcept {
    if (!path || !is_device(path) || kib == 0) {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return -1;
    }
    if (would_shrink(path, kib)) {
        MORV_LOG(LOG_ERR, "%s uses more than %llu KiB of its members", path,
                 static_cast<unsigned long long>(kib));
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const int code =
        MORV_RUN("/sbin/mdadm --grow %s -z %llu >/dev/null 2>&1\n", {SysPath(path).c_str(), kib});
    return code ? MORV_FAIL(code, -1) : 0;
}
