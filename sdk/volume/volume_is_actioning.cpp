#include <morvsdk/proc.h>
#include <string.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/storage/busy_file.h"

using namespace morv;

extern "C" int VolumeIsActioning(const char *path, VOLUME_PROGRESS *progress) noexcept {
    if (!path || !*path) return MORV_LOG_FAIL(LOG_DEBUG, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    VOLUME_PROGRESS read;
    const int code = no_throw([&] { return read_busy_file(read); });
    if (code)
        return MORV_LOG_FAIL(LOG_DEBUG, code, -1, "Failed to read what is done to volumes, errno=0X%X",
                             unsigned(code));
    if (strcmp(read.szPath, path) != 0 || !BlMLIBProcAlive(read.pid)) return 0;
    if (progress) *progress = read;
    return 1;
}
