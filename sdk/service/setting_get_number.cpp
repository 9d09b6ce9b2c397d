#include <morvsdk/service.h>

#include "core/base/fail.h"
#include "core/system/settings.h"

using namespace morv;

extern "C" int MORVSettingGetNumber(int setting, int32_t *pValue) noexcept {
    const MORVSETTING *const info = setting_info(setting);
    if (!pValue || !info || info->kind == MORV_SETTING_TEXT) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    SettingValue value = {setting, {}};
    if (int code = read_settings({&value, 1})) return MORV_FAIL(code, -1);
    *pValue = value.number();
    return 0;
}
