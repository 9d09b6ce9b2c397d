// Commands whose failure is logged with their text.
#pragma once

#include <morvsdk/errcodes.h>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/system/command.h"

namespace morv {

inline int run_logged(const char *stem, int line, const char *format, CommandValues values) noexcept {
    const int code = run_tool(format, values);
    if (code == 0) return 0;
    const int text_code = no_throw([&] {
        log_line(LOG_ERR, stem, line, "Failed to do '%s'", command_text(format, values).c_str());
        return 0;
    });
    if (text_code != 0) log_line(LOG_ERR, stem, line, "Failed to do '%s'", format);
    return code;
}

}  // namespace morv

#define MORV_RUN(format, ...) ::morv::run_logged(MORV_STEM, __LINE__, (format), __VA_ARGS__)
