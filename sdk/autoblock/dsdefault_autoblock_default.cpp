#include <morvsdk/autoblock.h>

extern "C" int MORVAutoBlockResetDefault(void) noexcept {
    const MORV_AUTOBLOCK_CONF factory = {0, 0, 0, 0};
    return MORVAutoBlockConfSet(&factory);
}
