#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpIGetUserSetting(int, MORVSYSBKPUSER *) noexcept {
    return -1;
}
