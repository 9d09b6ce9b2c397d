#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpImport(const char *, int, int) noexcept {
    return -1;
}
