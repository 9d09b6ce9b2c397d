#include <morvsdk/volume.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/device_name.h"
#include "core/storage/volume_name.h"
#include "core/system/process.h"
#include "core/system/sysfs.h"

using namespace morv;

namespace {

constexpr std::string_view kProgram = "iscsi_target.cgi";
constexpr int kPatience = 5000;  // milliseconds

std::string_view take_argument(std::string_view &arguments) noexcept {
    const std::string_view argument = arguments.substr(0, arguments.find('\0'));
    arguments.remove_prefix(std::min(argument.size() + 1, arguments.size()));
    return argument;
}

// Whether the arguments are the program's, which an interpreter may run, and name the target.
bool serves(std::string_view arguments, std::string_view target) noexcept {
    if (last_name(take_argument(arguments)) != kProgram && last_name(take_argument(arguments)) != kProgram)
        return false;
    while (!arguments.empty()) {
        if (take_argument(arguments) == target) return true;
    }
    return false;
}

bool end(const Process &process) noexcept {
    if (!process.signal(SIGTERM)) return false;
    if (process.wait(kPatience)) return true;
    return process.signal(SIGKILL) && process.wait(kPatience);
}

int end_all(const char *target) {
    std::vector<std::string> names;
    if (list_names("/proc", "", names) != 0) return ERR_OPEN_FAILED;
    int code = 0;
    for (const std::string &name : names) {
        Process process;
        int32_t pid;
        char room[4096];
        if (!number_behind(name, "", pid) || pid == getpid() || !process.open(pid) ||
            !serves(process.arguments(room), target)) {
            continue;
        }
        if (end(process)) continue;
        MORV_LOG(LOG_ERR, "Failed to end process %d of %s", pid, target);
        code = ERR_SYS_UNKNOWN;
    }
    return code;
}

}  // namespace

extern "C" int MORVVolStopCGI(const char *target) noexcept {
    VOLUME_ID id;
    if (!target || !parse_volume(target, id))
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const int code = no_throw([&] { return end_all(target); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to stop the targets on %s, errno=0X%X", target,
                         unsigned(code));
}
