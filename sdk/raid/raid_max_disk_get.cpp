#include <errno.h>
#include <morvsdk/raid.h>
#include <string.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/file/sys_path.h"
#include "core/system/command.h"
#include "core/text/fields.h"

using namespace morv;

extern "C" int MORVMaxDiskGet(void) noexcept {
    constexpr char kCommand[] = "/bin/get_key_value %s %s";
    int number = 0;
    const int code = no_throw([&] {
        std::string output;
        const SysPath file("/etc.defaults/morvinfo.conf");
        if (const int failed = capture_tool(output, kCommand, {file.c_str(), "maxdisks"})) {
            MORV_LOG(LOG_ERR, "Failed to popen cmd = '%s', errno=%s/%d.",
                     command_text(kCommand, {file.c_str(), "maxdisks"}).c_str(), strerror(errno), errno);
            return failed;
        }
        if (output.empty()) {
            MORV_LOG(LOG_ERR, "Failed to fgets cmd = '%s', errno=%s/%d.",
                     command_text(kCommand, {file.c_str(), "maxdisks"}).c_str(), strerror(errno), errno);
            return int{ERR_SYS_UNKNOWN};
        }
        const int64_t value = leading_number(output);
        if (value < 0 || value > INT32_MAX) return int{ERR_FORMAT_ERROR};
        number = int(value);
        return 0;
    });
    return code ? MORV_FAIL(code, -1) : number;
}
