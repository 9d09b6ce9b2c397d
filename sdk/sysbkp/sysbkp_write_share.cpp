#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpIWriteShare(const MORVSHARE *, int) noexcept {
    return -1;
}
