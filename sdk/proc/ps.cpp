#include <morvsdk/proc.h>
#include <string.h>

#include <algorithm>
#include <vector>

#include "core/base/fail.h"
#include "core/base/no_throw.h"
#include "core/system/process.h"

extern "C" int MLIBPs(const char *name, int *pids, int max) noexcept {
    if (!name || !*name || !pids || max < 0) return MORV_FAIL(ERR_BAD_PARAMETERS, -1);
    std::vector<int> found;
    if (int code = morv::no_throw([&] { return morv::find_processes(name, found); }))
        return MORV_FAIL(code, -1);
    const size_t count = std::min(found.size(), size_t(max));
    std::copy_n(found.begin(), count, pids);
    return int(count);
}
