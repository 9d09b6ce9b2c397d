#include <morvsdk/internal/sysbkp.h>

extern "C" int MORVSysbkpIGetIdx(int id) noexcept {
    for (int row = 0; grgSysRoutine[row].id != 0; ++row) {
        if (grgSysRoutine[row].id == id) return row;
    }
    return -1;
}
