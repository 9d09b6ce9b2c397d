#include <morvsdk/service.h>

#include "core/system/settings.h"

extern "C" const MORVSETTING *MORVSettingInfo(int setting) noexcept {
    return morv::setting_info(setting);
}
