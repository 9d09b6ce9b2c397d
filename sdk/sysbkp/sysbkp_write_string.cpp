#include <errno.h>
#include <morvsdk/internal/sysbkp.h>
#include <string.h>
#include <unistd.h>

#include "sysbkp/report.h"

extern "C" int MORVSysbkpIWriteString(int fd, const char *string) noexcept {
    const size_t length = string ? strlen(string) + 1 : 0;
    if (length == 0 || length > INT32_MAX) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    const int32_t head[] = {MORV_SYSBKP_STRING, static_cast<int32_t>(length)};
    if (MORVSysbkpRawIntWrite(fd, head, sizeof head) < 0) return -1;
    errno = 0;
    if (write(fd, string, length) != static_cast<ssize_t>(length)) {
        BACKUP_LOG("write fail, errno = %d", errno);
        return -1;
    }
    return 0;
}
