#include <morvsdk/error.h>
#include <morvsdk/raid.h>
#include <string.h>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"
#include "core/text/lines.h"

using namespace morv;

static bool is_member(const char *device, const RAID_INFO &array, std::string_view uuid) {
    RAID_SB sb;
    return RAIDSBGet(device, &sb) == 1 && strcmp(sb.szPath, array.szPath) == 0 && uuid == sb.szUUID;
}

static int clean(const RAID_INFO &array, std::string_view uuid) {
    std::string output;
    int status = 0;
    const int listed =
        capture_tool(output, "/bin/grep sd %s", {SysPath("/proc/partitions").c_str()}, &status);
    if (listed != 0 && status != 1) return listed;

    int result = ERR_PATH_NOT_FOUND;
    for (const std::string_view line : Lines(output)) {
        const size_t at = line.find("sd");
        if (at == line.npos) continue;
        const std::string device = "/dev/" + std::string(without_line_feed(line.substr(at)));
        if (!is_device(device) || !is_member(device.c_str(), array, uuid)) continue;
        result =
            run_tool("/sbin/mdadm --zero-superblock %s > /dev/null 2>&1", {SysPath(device.c_str()).c_str()});
        if (result == 0) {
            MORV_LOG(LOG_ERR, "Clean RAID superblock on '%s'", device.c_str());
        } else {
            MORV_LOG(LOG_ERR, "Failed to zero RAID superblock '%s'", device.c_str());
        }
    }
    return result;
}

extern "C" int RAIDCleanSuperblock(const RAID_INFO *pInfo, const char *uuid) noexcept {
    if (!pInfo || !uuid) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const std::string_view wanted(uuid, strcspn(uuid, " "));
    if (wanted.empty()) return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return clean(*pInfo, wanted); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to clean the superblocks of %s, errno=0x%X",
                         pInfo->szPath, unsigned(code));
}
