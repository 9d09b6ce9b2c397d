#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpExport(const char *, int) noexcept {
    return -1;
}
