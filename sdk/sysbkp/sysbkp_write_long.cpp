#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpIWriteLong(int fd, int value) noexcept {
    const int32_t item[] = {MORV_SYSBKP_LONG, 4, value};
    return MORVSysbkpRawIntWrite(fd, item, sizeof item) < 0 ? -1 : 0;
}
