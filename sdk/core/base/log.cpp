#include "core/base/log.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>

namespace morv {

void log_line(int priority, const char *stem, int line, const char *format, ...) noexcept {
    const int saved = errno;
    char text[2048];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    syslog(priority, "%s:%d %s", stem, line, text);
    errno = saved;
}

}  // namespace morv
