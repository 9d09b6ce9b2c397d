#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/report.h"

extern "C" int MORVSysbkpIGetUserSetting(int fd, MORVSYSBKPUSER *user) noexcept {
    if (!user) {
        BACKUP_LOG("parameter error");
        return -1;
    }
    MORVSYSBKPUSER read = {};
    const auto text = [fd](char **to) { return MORVSysbkpIReadString(fd, to) == 0; };
    const auto number = [fd](int32_t *to) { return MORVSysbkpIReadLong(fd, to) == 0; };
    if (text(&read.szName) && text(&read.szPassword) && text(&read.szFullName) &&
        text(&read.szSmbPassword1) && text(&read.szSmbPassword2) && number(&read.expireDay) &&
        number(&read.privilege) && text(&read.szMail) && number(&read.mayChangePassword)) {
        *user = read;
        return 0;
    }
    MORVSysbkpIFreeUserSetting(&read);
    return -1;
}
