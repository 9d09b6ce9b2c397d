#include <morvsdk/service.h>

extern "C" int MORVSettingGetNumber(int, int32_t *) noexcept {
    return -1;
}
