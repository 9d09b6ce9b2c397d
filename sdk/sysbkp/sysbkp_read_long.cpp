#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/report.h"

extern "C" int MORVSysbkpIReadLong(int fd, int *value) noexcept {
    int32_t item[3];
    if (!value) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    if (MORVSysbkpRawIntRead(fd, item, sizeof item) != sizeof item) return -1;
    if (item[0] != MORV_SYSBKP_LONG || item[1] != 4) {
        BACKUP_LOG("invalid type(%ld, %ld)", static_cast<long>(item[0]), static_cast<long>(item[1]));
        return -1;
    }
    *value = item[2];
    return 0;
}
