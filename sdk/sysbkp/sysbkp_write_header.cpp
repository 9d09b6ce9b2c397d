#include <morvsdk/internal/sysbkp.h>

#include "sysbkp/report.h"

extern "C" int MORVSysbkpIWriteHeader(int fd, int id) noexcept {
    const int row = MORVSysbkpIGetIdx(id);
    if (row < 0) {
        ::morv::log_text("%s: unknown id [%ld]", MORV_STEM, static_cast<long>(id));
        return -1;
    }
    // The size is known when the body is written: see MORVSysbkpIWriteBlkSize.
    const int32_t header[] = {id, grgSysRoutine[row].version, 0};
    return MORVSysbkpRawIntWrite(fd, header, sizeof header) < 0 ? -1 : 0;
}
