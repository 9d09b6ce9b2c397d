#include <morvsdk/raid.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/system/command.h"
#include "core/text/field_text.h"
#include "core/text/lines.h"

using namespace morv;

static int read_uuid(const char *path, std::string &uuid) {
    std::string output;
    if (const int code =
            capture_tool(output, "/sbin/mdadm -D %s | /bin/grep UUID", {SysPath(path).c_str()})) {
        MORV_LOG(LOG_ERR, "Failed to read the UUID of %s", path);
        return code;
    }
    const std::string line(without_line_feed(line_at(output, 0)));
    const size_t colon = line.find(':');
    if (colon == line.npos || colon + 2 >= line.size() || line.find('\0') != line.npos) {
        MORV_LOG(LOG_ERR, "Bad output format: '%s'", line.c_str());
        return ERR_FORMAT_ERROR;
    }
    uuid = line.substr(colon + 2);
    return 0;
}

extern "C" int RAIDUUIDGet(const char *path, char *buffer, int size) noexcept {
    if (!path || !is_device(path) || !buffer || size < 1)
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    std::string uuid;
    const int code = no_throw([&] { return read_uuid(path, uuid); });
    if (code) return MORV_FAIL(code, -1);
    if (!copy_text({buffer, size_t(size)}, uuid))
        return MORV_LOG_FAIL(LOG_DEBUG, ERR_NOT_ENOUGH_MEMORY, -1, "The buffer is too small");
    return 1;
}
