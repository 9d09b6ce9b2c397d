#include <morvsdk/service.h>

extern "C" int MORVSettingGetText(int, char *, int) noexcept {
    return -1;
}
