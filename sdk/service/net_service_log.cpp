#include <morvsdk/log.h>
#include <morvsdk/service.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/system/services.h"

using namespace morv;

// The names of the services of a mask, each once, or "all"; "" when there are none.
static int names_of(uint32_t services, std::string &names) {
    Services scripts;
    if (int code = scripts.load(services)) return code;
    const bool are_all = (services & MORV_SERVICES_BUT_MANAGEMENT) == MORV_SERVICES_BUT_MANAGEMENT;
    std::vector<std::string> seen;
    for (const ServiceScript &script : scripts) {
        if (std::find(seen.begin(), seen.end(), script.name) != seen.end()) continue;
        names.append(names.empty() ? "" : ", ").append(script.name);
        seen.push_back(script.name);
    }
    if (are_all && !names.empty()) names = "all";
    return 0;
}

extern "C" int MORVNetServiceLog(int services, int action) noexcept {
    if (action != MORV_SERVICES_STOP && action != MORV_SERVICES_START)
        return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    std::string names;
    const int code = no_throw([&] { return names_of(static_cast<uint32_t>(services), names); });
    if (code) return MORV_FAIL(code, -1);
    if (names.empty()) return 0;
    const uint32_t event =
        action == MORV_SERVICES_STOP ? MORV_EVENT_SERVICES_STOPPED : MORV_EVENT_SERVICES_STARTED;
    return MORVLogSet1(MORV_LOG_SYSTEM, MORV_LOG_INFO, event, names.c_str(), nullptr, nullptr, nullptr);
}
