#include <morvsdk/service.h>
#include <stdio.h>

#include "core/base/fail.h"

extern "C" int MORVSettingSetNumber(int setting, int32_t value) noexcept {
    const MORVSETTING *const info = MORVSettingInfo(setting);
    if (!info || info->kind == MORV_SETTING_TEXT) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    if (info->kind == MORV_SETTING_FLAG) {
        if (value != 0 && value != 1) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
        return MORVSettingSetText(setting, value ? "yes" : "no");
    }
    char text[16];
    snprintf(text, sizeof text, "%d", value);
    return MORVSettingSetText(setting, text);
}
