#include <morvsdk/share.h>

#include "core/base/fail.h"
#include "share/recycle.h"

using namespace morv;

extern "C" int MORVShareRecycleCleanStop(void) noexcept {
    const int code = stop_cleaning();
    return code == 0 ? 0 : MORV_FAIL(code, -1);
}
