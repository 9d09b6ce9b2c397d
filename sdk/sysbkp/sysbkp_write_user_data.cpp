#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpIWriteUserData(const MORVUSER *, int) noexcept {
    return -1;
}
