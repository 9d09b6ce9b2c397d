#include <morvsdk/service.h>

extern "C" const MORVSETTING *MORVSettingInfo(int) noexcept {
    return nullptr;
}
