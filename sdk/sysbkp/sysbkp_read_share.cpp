#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpIReadShare(int, MORVSYSBKPSHARE *) noexcept {
    return -1;
}
