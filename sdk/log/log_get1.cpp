#include <morvsdk/log.h>

#include "core/file/sys_path.h"
#include "log/event_texts.h"
#include "log/log_file.h"

using namespace morv;

extern "C" int MORVLogGet1(int log, const char *output, const char *language) noexcept {
    LogPlace place;
    if (!find_known_log(log, MORV_LOG_FOR_READING, place)) return -1;
    const int result = MORVLogGet1a(SysPath(place.path).c_str(), output, language);
    forget_event_texts();
    return result;
}
