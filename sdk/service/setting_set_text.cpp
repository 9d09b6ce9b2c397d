#include <morvsdk/service.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/system/settings.h"

using namespace morv;

extern "C" int MORVSettingSetText(int setting, const char *value) noexcept {
    if (!value || !setting_info(setting)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    const int code = no_throw([&] {
        const SettingValue change = {setting, value};
        return write_settings({&change, 1});
    });
    return code == 0 ? 0 : MORV_FAIL(code, -1);
}
