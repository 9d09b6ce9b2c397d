#include <morvsdk/service.h>

#include "core/system/settings.h"

extern "C" int MORVSettingFind(const char *name) noexcept {
    return name ? morv::find_setting(name) : -1;
}
