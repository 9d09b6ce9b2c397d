#include <morvsdk/volume.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
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

bool is_interpreter(std::string_view name) noexcept {
    constexpr std::string_view kInterpreters[] = {"ash",  "bash", "busybox", "dash",   "ksh",  "lua", "node",
                                                  "perl", "php",  "php-cgi", "python", "ruby", "sh",  "zsh"};
    constexpr std::string_view kReplaced = " (deleted)";  // by an update
    if (name.ends_with(kReplaced)) name.remove_suffix(kReplaced.size());
    name = name.substr(0, name.find_last_not_of("0123456789.") + 1);  // "python3.11"
    return std::find(std::begin(kInterpreters), std::end(kInterpreters), name) != std::end(kInterpreters);
}

// Whether the process is the program, or interprets it, and names the target. Others may name the program,
// too: an editor, say, which may even be the same file as the shell.
bool serves(const Process &process, std::string_view target) noexcept {
    char room[4096], file[4096];
    std::string_view arguments = process.arguments(room);
    const std::string_view name = last_name(take_argument(arguments));
    const bool is_program = name == kProgram;
    // Of an interpreter, the script stands behind the options.
    while (!is_program && arguments.starts_with('-'))
        take_argument(arguments);
    if (!is_program && (last_name(take_argument(arguments)) != kProgram || !is_interpreter(name) ||
                        !is_interpreter(last_name(process.program(file))))) {
        return false;
    }
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
        if (!number_behind(name, "", pid) || pid == getpid() || !process.open(pid) ||
            !serves(process, target)) {
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
