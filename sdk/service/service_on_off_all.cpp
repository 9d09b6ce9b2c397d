#include <morvsdk/service.h>

#include "core/base/fail.h"
#include "core/base/log.h"
#include "core/base/no_throw.h"
#include "core/system/services.h"

using namespace morv;

extern "C" int MORVServiceOnOffALL(int action) noexcept {
    if (action != MORV_SERVICES_STOP && action != MORV_SERVICES_START)
        return MORV_LOG_FAIL(LOG_ERR, ERR_BAD_PARAMETERS, -1, "Bad parameters");
    const bool stops = action == MORV_SERVICES_STOP;
    Services services;
    int code = no_throw([&] { return services.load(); });
    if (code == 0) code = stops ? services.stop() : services.start();
    if (code == 0) return 0;
    return MORV_LOG_FAIL(LOG_ERR, code, -1, "Failed to %s all services, errno=0X%X", stops ? "stop" : "start",
                         unsigned(code));
}
