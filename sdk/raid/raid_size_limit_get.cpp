#include <morvsdk/raid.h>

#include <algorithm>

#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/system/sysfs.h"
#include "core/text/fields.h"

using namespace morv;

static int read_limit(uint32_t &kib) {
    std::vector<std::string> names;
    if (const int code = list_names("/tmp", "volume.", names)) return code;
    if (names.empty()) return 0;
    const std::string_view name = names.front();
    const int64_t gib = std::max<int64_t>(0, leading_number(name.substr(name.rfind('.') + 1)));
    kib = static_cast<uint32_t>(std::min<int64_t>(gib << 20, UINT32_MAX));
    return 0;
}

extern "C" int RAIDSizeLimitGet(uint32_t *pKiB) noexcept {
    if (!pKiB) return MORV_FAIL(ERR_BAD_PARAMETERS, 0);
    uint32_t kib = 0;
    const int code = no_throw([&] { return read_limit(kib); });
    if (code) {
        MORV_LOG(LOG_DEBUG, "Failed to look for /tmp/volume.*, errno=%m");
        MLIBErrSetEx(code, MORV_STEM, __LINE__);
    }
    *pKiB = kib;
    return kib ? 1 : 0;
}
