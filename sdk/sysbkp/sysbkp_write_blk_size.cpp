#include <morvsdk/internal/sysbkp.h>
#include <unistd.h>

#include "sysbkp/report.h"

extern "C" int MORVSysbkpIWriteBlkSize(int fd, int64_t bodyStart, int64_t bodyEnd) noexcept {
    const int64_t bytes = bodyEnd - bodyStart;
    if (bodyStart < 4 || bytes < 0 || bytes > INT32_MAX) {
        BACKUP_LOG("a block cannot have %lld bytes", static_cast<long long>(bytes));
        return -1;
    }
    if (lseek(fd, bodyStart - 4, SEEK_SET) < 0) {
        BACKUP_LOG("fail to seek to the block size: %m");
        return -1;
    }
    const auto size = static_cast<int32_t>(bytes);
    if (MORVSysbkpRawIntWrite(fd, &size, sizeof size) < 0) return -1;
    if (lseek(fd, bodyEnd, SEEK_SET) < 0) {
        BACKUP_LOG("fail to seek to the block's end: %m");
        return -1;
    }
    return 0;
}
