#include <errno.h>
#include <morvsdk/file.h>

#include "file/stream_mode.h"

extern "C" FILE *pfMLIBSysFopen(const char *path, const char *mode) noexcept {
    if (!path || !mode) {
        errno = EINVAL;
        return nullptr;
    }
    return fopen(path, morv::StreamMode(mode).text);
}
