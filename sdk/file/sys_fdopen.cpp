#include <errno.h>
#include <morvsdk/file.h>

#include "file/stream_mode.h"

extern "C" FILE *pfMLIBSysFdopen(int fd, const char *mode) noexcept {
    if (!mode) {
        errno = EINVAL;
        return nullptr;
    }
    return fdopen(fd, morv::StreamMode(mode).text);
}
