#include <morvsdk/raid.h>

#include "core/file/sys_path.h"
#include "core/storage/device_name.h"
#include "core/storage/logged_command.h"

using namespace morv;

static bool is_valid(const RAID_SB *sb, const MLIBSZLIST *members) {
    if (!sb || !is_device(sb->szPath) || !*sb->szUUID || !members || members->nItem < 1) return false;
    for (int i = 0; i < members->nItem; ++i) {
        if (!is_device(members->pszItem[i])) return false;
    }
    return true;
}

// Its exit status does not count: whether the array runs is for the caller to see.
static int run(const char *format, CommandValues values) {
    int status = -1;
    const int code = run_tool(format, values, &status);
    return status >= 0 ? 0 : code;
}

static int assemble(const RAID_SB &sb, const MLIBSZLIST &members) {
    const std::string array = SysPath(sb.szPath).c_str();
    std::vector<std::string> devices;
    std::vector<CommandValue> values = {array, sb.szUUID};
    std::string format = "/sbin/mdadm %s -A -u %s --run";
    devices.reserve(size_t(members.nItem));
    for (int i = 0; i < members.nItem; ++i) {
        devices.emplace_back(SysPath(members.pszItem[i]).c_str());
        values.emplace_back(devices.back());
        format += " %s";
    }
    format += " > /dev/null 2>&1";
    if (const int code = run(format.c_str(), values)) return code;
    return run("/sbin/mdadm --run %s ", {array});
}

extern "C" int RAIDAssemble(const RAID_SB *pSB, const MLIBSZLIST *members) noexcept {
    if (!is_valid(pSB, members)) {
        MORV_LOG(LOG_ERR, "Bad parameters");
        return -1;
    }
    const int code = no_throw([&] { return assemble(*pSB, *members); });
    if (code) {
        MORV_LOG(LOG_ERR, "Failed to assemble %s, errno=%m", pSB->szPath);
        return MORV_FAIL(code, -1);
    }
    return 0;
}
