#include <morvsdk/service.h>

#include "core/base/fail.h"
#include "core/system/settings.h"
#include "core/text/field_text.h"

using namespace morv;

extern "C" int MORVSettingGetText(int setting, char *buffer, int size) noexcept {
    if (!buffer || size < 1 || !setting_info(setting)) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    SettingValue value = {setting, {}};
    if (int code = read_settings({&value, 1})) return MORV_FAIL(code, -1);
    if (!copy_text({buffer, static_cast<size_t>(size)}, value.text))
        return MORV_FAIL(ERR_NOT_ENOUGH_MEMORY, -1);
    return 0;
}
