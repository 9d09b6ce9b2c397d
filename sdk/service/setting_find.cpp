#include <morvsdk/service.h>

extern "C" int MORVSettingFind(const char *) noexcept {
    return -1;
}
