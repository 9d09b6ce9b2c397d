#include <morvsdk/service.h>

extern "C" int MORVSettingSetText(int, const char *) noexcept {
    return -1;
}
