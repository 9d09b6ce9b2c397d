#include <errno.h>
#include <morvsdk/autoblock.h>
#include <sys/file.h>
#include <unistd.h>

#include "core/base/log.h"

extern "C" void MORVAutoBlockFileClose(int fd) noexcept {
    if (flock(fd, LOCK_UN) != 0) MORV_LOG(LOG_ERR, "Fail to unlock autoblock file, errno=[%d/%m]", errno);
    if (fd >= 0) close(fd);
}
