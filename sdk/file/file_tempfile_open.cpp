#include <fcntl.h>
#include <morvsdk/file.h>
#include <stdlib.h>
#include <unistd.h>

#include "core/base/fail.h"

extern "C" FILE *MLIBFileTempFileOpen(char *name) noexcept {
    if (!name) return MORV_FAIL(ERR_BAD_PARAMETERS, nullptr);
    const int fd = mkostemp(name, O_CLOEXEC);
    if (fd < 0) return MORV_FAIL(ERR_OPEN_FAILED, nullptr);
    FILE *stream = fdopen(fd, "w");
    if (stream) return stream;
    close(fd);
    unlink(name);
    return MORV_FAIL(ERR_OPEN_FAILED, nullptr);
}
