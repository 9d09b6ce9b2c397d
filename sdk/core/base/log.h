// Lines of the system log, each opened with the source file's stem and the line: "file_touch:14 ...".
#pragma once

#include <syslog.h>

#include "core/base/fail.h"

namespace morv {

// `format` is a printf format; "%m" stands for the text of errno. errno is kept.
void log_line(int priority, const char *stem, int line, const char *format, ...) noexcept
    __attribute__((format(printf, 4, 5)));

}  // namespace morv

#define MORV_LOG(priority, ...) __extension__ ::morv::log_line((priority), MORV_STEM, __LINE__, __VA_ARGS__)

// A failure with a line of the log:
//
//     if (!path) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
#define MORV_LOG_FAIL(priority, code, result, ...) \
    (MORV_LOG((priority), __VA_ARGS__), MORV_FAIL((code), result))
