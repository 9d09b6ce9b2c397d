#include <morvsdk/internal/sysbkp.h>

extern "C" void MORVSysbkpIFreeUserSetting(MORVSYSBKPUSER *) noexcept {}
