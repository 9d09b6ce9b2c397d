#include <errno.h>
#include <morvsdk/raid.h>
#include <string.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/text/fields.h"

using namespace morv;

static int read_number(int &number) {
    constexpr char kCommand[] = "/bin/get_key_value %s %s";
    const SysPath file("/etc.defaults/morvinfo.conf");
    std::string output;
    int code = capture_tool(output, kCommand, {file.c_str(), "maxdisks"});
    const char *const step = code ? "popen" : "fgets";
    if (code == 0 && output.empty()) code = ERR_SYS_UNKNOWN;
    if (code) {
        const int reason = errno;
        const std::string command = command_text(kCommand, {file.c_str(), "maxdisks"});
        syslog(LOG_ERR, "%s(%d) Failed to %s cmd = '%s', errno=%s/%d.", MORV_STEM, __LINE__, step,
               command.c_str(), strerror(reason), reason);
        return code;
    }
    const int64_t value = leading_number(output);
    if (value < 0 || value > INT32_MAX) {
        MORV_LOG(LOG_ERR, "Not a number of disks: %s", output.c_str());
        return ERR_FORMAT_ERROR;
    }
    number = int(value);
    return 0;
}

extern "C" int MORVMaxDiskGet(void) noexcept {
    int number = 0;
    const int code = no_throw([&] { return read_number(number); });
    return code ? MORV_FAIL(code, -1) : number;
}
