#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpEnum(const char *, const MORVSYSBKPVISITOR *, int32_t *) noexcept {
    return -1;
}
