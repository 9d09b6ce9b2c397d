#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/report.h"

extern "C" int MORVSysbkpIReadShare(int fd, MORVSYSBKPSHARE *share) noexcept {
    if (!share) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    MORVSYSBKPSHARE read = {};
    const auto text = [fd](char **to) { return MORVSysbkpIReadString(fd, to) == 0; };
    const auto number = [fd](int32_t *to) { return MORVSysbkpIReadLong(fd, to) == 0; };
    if (text(&read.szName) && text(&read.szPath) && text(&read.szComment) && text(&read.szReadWrite) &&
        text(&read.szReadOnly) && text(&read.szDenied) && number(&read.fType) && number(&read.fBrowseable) &&
        number(&read.fFTPPrivilege)) {
        *share = read;
        return 0;
    }
    MORVSysbkpIFreeShareString(&read);
    return -1;
}
