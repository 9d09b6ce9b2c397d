#include <morvsdk/internal/sysbkp.h>

// The languages of the pages are part of the firmware: there is nothing to keep, and the file has no block.
extern "C" int MORVSysbkpLangExport(int) noexcept {
    return 0;
}

extern "C" int MORVSysbkpLangImport(int, int, int) noexcept {
    return 0;
}
