#include <morvsdk/service.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/system/sysfs.h"

using namespace morv;

namespace {

constexpr char kFolder[] = "/usr/morv/etc/rc.d";

bool is_digit(char c) noexcept {
    return c >= '0' && c <= '9';
}

bool is_script(const std::string &name, const char *path) noexcept {
    struct stat st;
    return name.size() > 3 && is_digit(name[1]) && is_digit(name[2]) && stat(path, &st) == 0 &&
           S_ISREG(st.st_mode) && access(path, X_OK) == 0;
}

int call_all(const char *argument) {
    std::vector<std::string> names;
    if (const int code = list_names(kFolder, "S", names)) return code;
    if (argument == std::string_view("stop")) std::reverse(names.begin(), names.end());
    int code = 0;
    for (const std::string &name : names) {
        const SysPath script((std::string(kFolder) + "/" + name).c_str());
        if (!is_script(name, script.c_str())) continue;
        const int failed = run_tool("%s %s > /dev/null 2>&1", {script.c_str(), argument});
        if (failed == 0) continue;
        MORV_LOG(LOG_ERR, "Failed to do '%s %s'", script.c_str(), argument);
        code = failed;
    }
    return code;
}

}  // namespace

extern "C" int MORVServiceOnOffALL(int action) noexcept {
    if (action != MORV_SERVICES_STOP && action != MORV_SERVICES_START)
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const char *const argument = action == MORV_SERVICES_STOP ? "stop" : "start";
    const int code = no_throw([&] { return call_all(argument); });
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to %s all services, errno=0X%X", argument,
                         unsigned(code));
}
