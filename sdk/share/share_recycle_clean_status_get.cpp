#include <morvsdk/share.h>

#include "core/base/fail.h"
#include "share/recycle.h"

using namespace morv;

extern "C" int MORVShareRecycleCleanStatusGet(void) noexcept {
    int code = 0;
    const int running = is_cleaning(code);
    return running >= 0 ? running : MORV_FAIL(code, -1);
}
