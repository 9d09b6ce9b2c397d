#include <morvsdk/service.h>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/system/services.h"

using namespace morv;

extern "C" int MORVServiceEnum(int (*each)(const MORVSERVICE *service, void *context),
                               void *context) noexcept {
    if (!each) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    Services scripts;
    if (int code = no_throw([&] { return scripts.load(kAllServices, Services::kAlsoOff); }))
        return MORV_FAIL(code, -1);
    int count = 0;
    for (const ServiceScript &script : scripts) {
        const MORVSERVICE service = {script.path.c_str() + script.file, script.name.c_str(),
                                     static_cast<int32_t>(script.service), script.is_on ? 1 : 0};
        ++count;
        if (each(&service, context) != 0) break;
    }
    return count;
}
