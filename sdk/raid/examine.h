// Asking mdadm for the superblock of a device.
#pragma once

#include "core/file/sys_path.h"
#include "core/system/command.h"

namespace morv {

// What an examining command prints about a device; nothing where the device has no superblock, or is one that
// mdadm cannot read. Answers 0, or why the tool could not be run.
inline int examine(const char *format, const char *device, std::string &output) noexcept {
    constexpr int kFirstOfShell = 126;  // the shell's own: the tool cannot be run
    int status = -1;
    const int code = capture_tool(output, format, {SysPath(device).c_str()}, &status);
    if (code == 0 || (code == ERR_SYS_UNKNOWN && status > 0 && status < kFirstOfShell)) return 0;
    return code;
}

}  // namespace morv
