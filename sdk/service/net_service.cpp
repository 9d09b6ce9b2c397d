#include <morvsdk/service.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/system/services.h"

using namespace morv;

extern "C" int MORVNetService(int services, int action) noexcept {
    if (action != MORV_SERVICES_STOP && action != MORV_SERVICES_START)
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const bool stops = action == MORV_SERVICES_STOP;
    Services scripts;
    int code = no_throw([&] { return scripts.load(static_cast<uint32_t>(services)); });
    if (code == 0) code = stops ? scripts.stop() : scripts.start();
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to %s services 0x%X, errno=0X%X",
                         stops ? "stop" : "start", static_cast<unsigned>(services),
                         static_cast<unsigned>(code));
}
