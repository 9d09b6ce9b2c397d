#include <morvsdk/service.h>

extern "C" int MORVSettingSetNumber(int, int32_t) noexcept {
    return -1;
}
