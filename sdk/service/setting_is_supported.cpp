#include <morvsdk/service.h>

#include "core/system/settings.h"

extern "C" int BlMORVSettingIsSupported(int setting) noexcept {
    const MORVSETTING *const info = morv::setting_info(setting);
    bool has = false;
    return info && morv::read_support(info->szSupport, &has) == 0 && has ? 1 : 0;
}
