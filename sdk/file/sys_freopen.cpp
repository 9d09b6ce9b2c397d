#include <errno.h>
#include <morvsdk/file.h>

#include "file/stream_mode.h"

extern "C" FILE *pfMLIBSysFreopen(const char *path, const char *mode, FILE *stream) noexcept {
    if (!mode || !stream) {
        errno = EINVAL;
        return nullptr;
    }
    return freopen(path, morv::StreamMode(mode).text, stream);
}
