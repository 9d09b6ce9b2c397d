#include <morvsdk/service.h>

extern "C" int BlMORVSettingIsSupported(int) noexcept {
    return -1;
}
