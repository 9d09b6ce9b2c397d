#include <errno.h>
#include <morvsdk/error.h>
#include <stdio.h>
#include <unistd.h>

#include "core/base/fail.h"
#include "core/base/guard.h"

// A console or a pipe has nothing to sync.
static bool sync_to_disk(FILE *log) noexcept {
    return fsync(fileno(log)) == 0 || errno == EINVAL || errno == ENOTSUP;
}

extern "C" int MLIBErrLogSet(const char *path, const char *message) noexcept {
    if (!path || !message) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    morv::FilePtr log(fopen(path, "a+e"));
    if (!log) return MORV_FAIL(ERR_OPEN_FAILED, -1);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    // The message is the format by contract; callers rely on "%%".
    const bool written = fprintf(log.get(), message) >= 0 && fputs("\n", log.get()) != EOF;
#pragma GCC diagnostic pop
    if (!written || fflush(log.get()) != 0 || !sync_to_disk(log.get()) || fclose(log.release()) != 0) {
        return MORV_FAIL(ERR_WRITE_FAILED, -1);
    }
    return 0;
}
