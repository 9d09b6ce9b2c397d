#include <morvsdk/internal/sysbkp.h>

extern "C" void MORVSysbkpIFreeShareString(MORVSYSBKPSHARE *) noexcept {}
