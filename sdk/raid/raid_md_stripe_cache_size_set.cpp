#include <morvsdk/raid.h>
#include <unistd.h>

#include <string_view>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"

using namespace morv;

static int set_size(const char *path, int size) {
    const std::string file = "/sys/block/" + std::string(last_name(path)) + "/md/stripe_cache_size";
    const SysPath target(file.c_str());
    if (access(target.c_str(), F_OK) != 0) return 0;
    int status = 0;
    const int code = run_tool("/bin/echo %d > %s", {size, target.c_str()}, &status);
    if (code)
        MORV_LOG(LOG_ERR, "Failed to change stripe cache size of '%s', WEXITSTATUS(err)=%d", path, status);
    return code;
}

extern "C" int MORVRAIDMdStripeCacheSizeSet(const char *path, int size) noexcept {
    if (!path) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    if (!std::string_view(path).starts_with("/dev/md") || !is_device(path)) {
        MORV_LOG(LOG_ERR, "Illegal path : '%s', skip setting stripe size. ", path);
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    }
    const int code = no_throw([&] { return set_size(path, size); });
    return code ? MORV_FAIL(code, -1) : 0;
}
