#include <morvsdk/service.h>

#include "core/system/settings.h"

extern "C" int BlMORVSettingIsSupported(int setting) noexcept {
    const MORVSETTING *const info = morv::setting_info(setting);
    return info && morv::is_supported(*info) ? 1 : 0;
}
