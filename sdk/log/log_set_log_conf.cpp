#include <morvsdk/log.h>

#include "core/base/fail.h"
#include "log/log_file.h"

using namespace morv;

extern "C" int MORVSetLogConf() noexcept {
    if (make_log_settings(kAlways) != 0) return MORV_FAIL(ERR_OPEN_FAILED, -1);
    return 0;
}
