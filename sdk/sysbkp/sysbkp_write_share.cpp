#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/report.h"

extern "C" int MORVSysbkpIWriteShare(const MORVSHARE *share, int fd) noexcept {
    if (!share || !share->szName || !share->szPath) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    const auto text = [fd](const char *of) { return MORVSysbkpIWriteString(fd, of ? of : "") == 0; };
    const auto number = [fd](int32_t of) { return MORVSysbkpIWriteLong(fd, of) == 0; };
    return text(share->szName) && text(share->szPath) && text(share->szComment) && text(share->szWriteList) &&
                   text(share->szReadList) && text(share->szInvalidUsers) && number(share->accessType) &&
                   number(share->browseable) && number(share->ftpFlags)
               ? 0
               : -1;
}
