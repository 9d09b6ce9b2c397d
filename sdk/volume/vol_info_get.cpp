#include <stdio.h>

#include <string>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/text/lines.h"
#include "volume/mount_record.h"

using namespace morv;

namespace {

// The lines of "/proc/mounts" that have the volume's name somewhere.
int grep(int number, std::string &lines) {
    constexpr int kNoLine = 1, kTrouble = 2;
    int status = 0;
    const SysPath mounts("/proc/mounts");
    const int code = capture_tool(lines, "grep %s%d %s", {"/volume", number, mounts.c_str()}, &status);
    if (code == ERR_SYS_UNKNOWN && status == kTrouble) return mounts_not_opened(LOG_DEBUG);
    return code == ERR_SYS_UNKNOWN && status == kNoLine ? 0 : code;
}

int read_volume(int number, VOLUME_MOUNT &record, bool &has_room) {
    std::string text;
    if (const int code = grep(number, text)) return code;
    char path[32];
    snprintf(path, sizeof path, "/volume%d", number);
    Mount mount, found;
    bool is_mounted = false;
    for (const std::string_view line : Lines(text)) {
        // "/volume1" stands in the lines of "/volume10" and "/volume1/cache", too.
        if (!parse_mount({text.data() + (line.data() - text.data()), line.size()}, mount) ||
            mount.point != path)
            continue;
        found = mount;
        is_mounted = true;
    }
    return fill_mount({number, VOLUME_INTERNAL}, is_mounted ? &found : nullptr, record, has_room);
}

}  // namespace

extern "C" int MORVVolInfoGet(int number, VOLUME_MOUNT *mount) noexcept {
    if (number < 0 || !mount) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    VOLUME_MOUNT record;
    bool has_room;
    const int code = no_throw([&] { return read_volume(number, record, has_room); });
    if (code)
        return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to look for /volume%d in /proc/mounts, errno=0X%X",
                             number, unsigned(code));
    *mount = record;
    return has_room ? 0 : MORV_FAIL(ERR_READ_FAILED, 0);
}
